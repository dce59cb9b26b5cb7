#pragma once

#include "byte_cursor.h"

#include <array>
#include <string>

namespace zel {

/// A block of bytes that is sent or was received as the payload of a telegram.
class clTelContainer {
public:
    virtual const std::byte* data() const = 0;
    virtual ~clTelContainer() = default;

    clTelContainer(const clTelContainer&) = delete;
    clTelContainer& operator=(const clTelContainer&) = delete;

    std::size_t size() const { return m_size; }

protected:
    explicit clTelContainer(std::size_t size) : m_size(size) {}

    std::size_t m_size;
};

/// A received payload. Headers are taken off its front without moving the rest.
class clRxTelContainer final : public clTelContainer {
public:
    /// The bytes are not initialised; throws std::bad_alloc.
    explicit clRxTelContainer(std::size_t size);
    ~clRxTelContainer() override;

    const std::byte* data() const override { return m_bytes; }
    MutableBytes writable() { return {m_bytes, m_size}; }

    /// What is left after the headers that were taken off.
    Bytes payload() const { return {m_bytes + m_consumed, m_size - m_consumed}; }
    void takeOff(std::size_t headerSize);

    /// Lets go the memory that is kept for the next ones.
    static void dropSpareBlocks();

    /// Changes the size and keeps what is in; throws std::bad_alloc and then changes nothing.
    void resize(std::size_t size);

private:
    std::byte* m_bytes = nullptr;
    bool m_isSpareBlock; // goes back to where it came from
    std::size_t m_consumed = 0;
};

/// A payload to send: a few bytes of header in front of the data, which is taken over as it is.
class clTxTelContainer final : public clTelContainer {
public:
    static constexpr std::size_t kMaxFront = 8;

    /// Zero-filled data without a header.
    explicit clTxTelContainer(std::size_t size);
    /// `front` has at most kMaxFront bytes.
    clTxTelContainer(Bytes front, std::string data);

    /// The data behind the header.
    const std::byte* data() const override
    {
        return reinterpret_cast<const std::byte*>(m_data.data());
    }
    MutableBytes writable() { return {reinterpret_cast<std::byte*>(m_data.data()), m_data.size()}; }
    std::size_t dataSize() const { return m_data.size(); }

    /// A piece of header and data as they leave one after the other.
    std::array<Bytes, 2> slice(std::size_t offset, std::size_t length) const;

private:
    std::array<std::byte, kMaxFront> m_front{};
    std::size_t m_frontSize = 0;
    std::string m_data;
};

} // namespace zel
