#pragma once

#include "setup.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// What recordings are made of where they are text. Nothing here depends on the locale.
namespace zel::acquisition {

/// Bytes that are put together to be written; what is made room for is filled without a check.
class TextBuffer {
public:
    std::string_view text() const { return {m_bytes.get(), m_size}; }
    bool isEmpty() const { return m_size == 0; }
    std::size_t size() const { return m_size; }

    /// Memory for so many bytes behind the text; up to end() they belong to it then.
    char* room(std::size_t bytes);
    void end(const char* end) { m_size = static_cast<std::size_t>(end - m_bytes.get()); }
    void add(std::string_view text);
    /// The first so many are done with.
    void drop(std::size_t bytes);

private:
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// With control characters, and bytes that are no UTF-8, made visible: \xNN.
std::string printable(std::string_view text);
/// In quotation marks, those within doubled, and printable.
std::string quoted(std::string_view text);

/// In quotation marks, as JSON has texts; bytes that are no UTF-8 made visible.
std::string jsonText(std::string_view text);

/// "0x0000001234AB0001"
std::string uuidText(std::uint64_t uuid);
/// "1200", "0.5": hertz.
std::string rateText(std::uint64_t millihertz);
/// Millihertz; nothing for what is no rate above 0.
std::optional<std::uint64_t> rateOf(std::string_view hertz);

/// "Float32"
std::string_view nameOf(ValueType type);
std::optional<ValueType> valueTypeNamed(std::string_view name);

/// As much as putSeconds() or putValue() needs at most.
constexpr std::size_t kLongestNumber = 32;
/// Seconds with nine decimals; gives the end.
char* putSeconds(char* place, std::uint64_t nanoseconds);
/// The shortest text that reads back as the same value; "nan", or what else is given, for no value.
template <class T>
char* putValue(char* place, T value, std::string_view none = "nan");

} // namespace zel::acquisition
