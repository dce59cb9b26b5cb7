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

/// Takes one piece after the other from a bounded range. The first that is too long, and all behind
/// it, are empty, and good() is false: so that a decoder needs one test at its end.
template <class Byte>
class ByteCursor {
public:
    std::size_t remaining() const { return m_rest.size(); }
    bool good() const { return m_good; }

protected:
    explicit ByteCursor(std::span<Byte> bytes) : m_rest(bytes) {}

    std::span<Byte> take(std::size_t size)
    {
        m_good = m_good && size <= m_rest.size();
        const std::span<Byte> taken = m_rest.first(m_good ? size : 0);
        m_rest = m_good ? m_rest.subspan(size) : taken;
        return taken;
    }

    std::span<Byte> m_rest;

private:
    bool m_good = true;
};

/// Reads big-endian fields. What is read past the end is zero.
class ByteReader : public ByteCursor<const std::byte> {
public:
    explicit ByteReader(Bytes bytes) : ByteCursor(bytes) {}

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
    Bytes bytes(std::size_t size) { return take(size); }
    void skip(std::size_t size) { take(size); }

    Bytes rest() const { return m_rest; }

private:
    template <class T, class Raw>
    T read()
    {
        Raw value = 0;
        for (const std::byte byte : take(sizeof(Raw)))
            value =
                static_cast<Raw>((value << (sizeof(Raw) > 1 ? 8 : 0)) | std::to_integer<Raw>(byte));
        return static_cast<T>(value);
    }
};

/// Writes big-endian fields. What is written past the end is dropped.
class ByteWriter : public ByteCursor<std::byte> {
public:
    explicit ByteWriter(MutableBytes bytes) : ByteCursor(bytes) {}

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
        const MutableBytes field = take(data.size());
        if (!field.empty())
            std::memcpy(field.data(), data.data(), field.size());
    }

private:
    template <class Raw, class T>
    void write(T value)
    {
        const MutableBytes field = take(sizeof(Raw));
        const auto raw = static_cast<Raw>(value);
        for (std::size_t i = 0; i < field.size(); ++i)
            field[i] = static_cast<std::byte>((raw >> (8 * (sizeof(Raw) - 1 - i))) & 0xFF);
    }
};

} // namespace zel
