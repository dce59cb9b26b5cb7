#pragma once

#include "byte_cursor.h"

#include <array>
#include <string>

namespace zel {

/// A received payload. Headers are taken off its front without moving the rest.
class clRxTelContainer {
public:
    static constexpr std::size_t kMaxFront = 8;

    /// In memory of its own. The bytes are not initialised; throws std::bad_alloc.
    explicit clRxTelContainer(std::size_t size);
    /// What comes behind a header of `frontSize` bytes, at most kMaxFront, goes to `place`, which
    /// must outlive it.
    clRxTelContainer(std::size_t frontSize, MutableBytes place);
    ~clRxTelContainer();
    clRxTelContainer(const clRxTelContainer&) = delete;
    clRxTelContainer& operator=(const clRxTelContainer&) = delete;

    std::size_t size() const { return m_size; }
    /// Memory for what belongs at `offset`: all that is in one piece from there on.
    MutableBytes writable(std::size_t offset = 0);
    void write(std::size_t offset, Bytes bytes);

    /// What is left after the headers that were taken off, in one piece: the front, as long as it
    /// is there, by itself.
    Bytes payload() const;
    void takeOff(std::size_t headerSize);

    /// Changes the size and keeps what is in; throws std::bad_alloc and then changes nothing. Only
    /// in memory of its own.
    void resize(std::size_t size);

private:
    std::array<std::byte, kMaxFront> m_front{};
    const std::size_t m_frontSize = 0;
    std::size_t m_size;
    std::byte* m_bytes; // behind the front
    const bool m_isOwn;
    std::size_t m_consumed = 0;
};

/// A payload to send: a few bytes of header in front of the data, which is taken over as it is.
class clTxTelContainer {
public:
    static constexpr std::size_t kMaxFront = 8;

    /// `front` has at most kMaxFront bytes.
    clTxTelContainer(Bytes front, std::string data);

    std::size_t size() const { return m_frontSize + m_data.size(); }
    std::size_t dataSize() const { return m_data.size(); }

    /// A piece of header and data as they leave one after the other.
    std::array<Bytes, 2> slice(std::size_t offset, std::size_t length) const;

private:
    std::array<std::byte, kMaxFront> m_front{};
    const std::size_t m_frontSize;
    const std::string m_data;
};

} // namespace zel
