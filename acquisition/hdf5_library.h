#pragma once

#include "setup.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <hdf5.h>
#include <hdf5_hl.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zel::acquisition::hdf5 {

/// The library could not do something; what() tells a person what and why.
class Failure : public std::runtime_error {
public:
    Failure(const std::string& text, bool isNoRoom)
        : std::runtime_error(text), m_isNoRoom(isNoRoom)
    {
    }
    /// There is no room on the disk.
    bool isNoRoom() const { return m_isNoRoom; }

private:
    bool m_isNoRoom;
};

/// One thread at a time calls the library: it is not made for several everywhere, and has one lock
/// for all files where it is. So a call that waits for its disk holds up every other one.
/// Compressing and waiting until data are on the disk itself are none of its calls.
class Turn {
public:
    Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn();

    [[noreturn]] void fail(const std::string& task) const;
};

/// One call, whose result is negative where it fails. Throws Failure: "could not <task>: ...".
template <std::invocable Make>
auto call(const char* task, Make make)
{
    const Turn turn;
    const auto result = make();
    if (result < 0)
        turn.fail(task);
    return result;
}

/// What the library hands out, closed when this goes.
class Handle {
public:
    using Close = herr_t (*)(hid_t);

    Handle() = default;
    template <std::invocable Make>
    Handle(const char* task, Close closing, Make make) : m_id(call(task, make)), m_close(closing)
    {
    }
    Handle(Handle&& other) noexcept
        : m_id(std::exchange(other.m_id, -1)), m_close(other.m_close)
    {
    }
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(m_id, other.m_id);
        std::swap(m_close, other.m_close);
        return *this;
    }
    ~Handle() { drop(); }

    hid_t id() const { return m_id; }
    explicit operator bool() const { return m_id >= 0; }
    /// Throws Failure.
    void close(const char* task);
    /// Closes without asking how that went.
    void drop();

private:
    hid_t m_id = -1;
    Close m_close = nullptr;
};

/// Makes a file, or opens one. No lock of the library's own: GuardedFile sees to that.
Handle createFile(const std::string& name);
enum class Access { read, readWhileWritten, repair };
Handle openFile(const std::string& name, Access access);

Handle createGroup(const Handle& in, const std::string& name);
Handle openGroup(const Handle& in, const std::string& name);
Handle openDataset(const Handle& in, const std::string& name);
/// Where in its file an object is.
std::string pathOf(const Handle& object);
/// Names of what is in a group itself, not what it refers to, in the order of their characters.
std::vector<std::string> namesIn(const Handle& group);

/// The library's number for a type of values, in this host's byte order.
hid_t typeOf(ValueType type);
/// A text of a fixed length, in UTF-8, filled up with zeros.
Handle textType(std::size_t length);

// Attributes. Those that are going to change have a fixed size: while a file is open to readers,
// none may be added. Texts that have no fixed length read more naturally in other programs.
void setText(const Handle& object, const std::string& name, const std::string& text);
void setFixedText(const Handle& object, const std::string& name, std::string_view text,
                  std::size_t length);
void setNumber(const Handle& object, const std::string& name, std::int64_t value);
void setNumber(const Handle& object, const std::string& name, std::uint64_t value);
void setNumber(const Handle& object, const std::string& name, double value);
void setValue(const Handle& object, const std::string& name, hid_t type, const void* value);
void changeText(const Handle& object, const std::string& name, std::string_view text);
void changeNumber(const Handle& object, const std::string& name, std::int64_t value);
void changeNumber(const Handle& object, const std::string& name, std::uint64_t value);
void changeNumber(const Handle& object, const std::string& name, double value);

// Nothing where there is no such attribute, or it is something else. Throws Failure where it
// cannot be read.
std::optional<std::string> textOf(const Handle& object, const std::string& name);
std::optional<std::int64_t> numberOf(const Handle& object, const std::string& name);
std::optional<std::uint64_t> countOf(const Handle& object, const std::string& name);
std::optional<double> realOf(const Handle& object, const std::string& name);
std::vector<std::string> attributesOf(const Handle& object);

/// Elements of a dataset with one dimension. Throws Failure for any other.
std::uint64_t sizeOf(const Handle& dataset);
/// Reads some of them, as that type in memory.
void read(const Handle& dataset, hid_t type, std::uint64_t begin, std::size_t count, void* into);

} // namespace zel::acquisition::hdf5
