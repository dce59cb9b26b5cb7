#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zel {

using Bytes = std::span<const std::byte>;
using MutableBytes = std::span<std::byte>;

inline Bytes asBytes(const void* data, std::size_t size)
{
    return {static_cast<const std::byte*>(data), size};
}

/// Reads big-endian fields from a bounded range. The first read past the end makes every further
/// read yield zero and good() false, so that a decoder needs one test at its end.
class ByteReader {
public:
    explicit ByteReader(Bytes bytes) : m_rest(bytes) {}

    template <class T = std::uint8_t>
    T u8()
    {
        return read<T, std::uint8_t>();
    }
    template <class T = std::uint16_t>
    T u16()
    {
        return read<T, std::uint16_t>();
    }
    template <class T = std::uint32_t>
    T u32()
    {
        return read<T, std::uint32_t>();
    }
    template <class T = std::uint64_t>
    T u64()
    {
        return read<T, std::uint64_t>();
    }
    std::int32_t i32() { return read<std::int32_t, std::uint32_t>(); }

    /// The next `size` bytes, or nothing when fewer are left.
    Bytes bytes(std::size_t size)
    {
        if (!take(size))
            return {};
        const Bytes taken = m_rest.first(size);
        m_rest = m_rest.subspan(size);
        return taken;
    }
    void skip(std::size_t size) { bytes(size); }

    Bytes rest() const { return m_rest; }
    std::size_t remaining() const { return m_rest.size(); }
    bool good() const { return m_good; }

private:
    bool take(std::size_t size)
    {
        if (m_good && size <= m_rest.size())
            return true;
        m_good = false;
        m_rest = {};
        return false;
    }

    template <class T, class Raw>
    T read()
    {
        const Bytes field = bytes(sizeof(Raw));
        Raw value = 0;
        for (const std::byte byte : field)
            value =
                static_cast<Raw>((value << (sizeof(Raw) > 1 ? 8 : 0)) | std::to_integer<Raw>(byte));
        return static_cast<T>(value);
    }

    Bytes m_rest;
    bool m_good = true;
};

/// Writes big-endian fields into a bounded range; a write past the end is dropped and sticks.
class ByteWriter {
public:
    explicit ByteWriter(MutableBytes bytes) : m_rest(bytes) {}

    template <class T>
    void u8(T value)
    {
        write<std::uint8_t>(value);
    }
    template <class T>
    void u16(T value)
    {
        write<std::uint16_t>(value);
    }
    template <class T>
    void u32(T value)
    {
        write<std::uint32_t>(value);
    }
    template <class T>
    void u64(T value)
    {
        write<std::uint64_t>(value);
    }
    void bytes(Bytes data)
    {
        if (!take(data.size()))
            return;
        if (!data.empty())
            std::memcpy(m_rest.data(), data.data(), data.size());
        m_rest = m_rest.subspan(data.size());
    }

    std::size_t remaining() const { return m_rest.size(); }
    bool good() const { return m_good; }

private:
    bool take(std::size_t size)
    {
        if (m_good && size <= m_rest.size())
            return true;
        m_good = false;
        m_rest = {};
        return false;
    }

    template <class Raw, class T>
    void write(T value)
    {
        if (!take(sizeof(Raw)))
            return;
        const auto raw = static_cast<Raw>(value);
        for (std::size_t i = 0; i < sizeof(Raw); ++i)
            m_rest[i] = static_cast<std::byte>((raw >> (8 * (sizeof(Raw) - 1 - i))) & 0xFF);
        m_rest = m_rest.subspan(sizeof(Raw));
    }

    MutableBytes m_rest;
    bool m_good = true;
};

} // namespace zel
