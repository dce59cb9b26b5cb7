#include "method_header.h"

namespace zel {

std::array<std::byte, MethodRequestHeader::kSize> MethodRequestHeader::encode() const
{
    std::array<std::byte, kSize> bytes;
    ByteWriter out{bytes};
    out.u16(service);
    out.u16(method);
    return bytes;
}

std::optional<MethodRequestHeader> MethodRequestHeader::decode(ByteReader& in)
{
    const MethodRequestHeader header{in.u16(), in.u16()};
    return in.good() ? std::optional{header} : std::nullopt;
}

std::array<std::byte, MethodResponseHeader::kSize> MethodResponseHeader::encode() const
{
    std::array<std::byte, kSize> bytes;
    ByteWriter out{bytes};
    out.u16(service);
    out.u16(method);
    out.u32(result);
    return bytes;
}

std::optional<MethodResponseHeader> MethodResponseHeader::decode(ByteReader& in)
{
    const MethodResponseHeader header{in.u16(), in.u16(), in.i32()};
    return in.good() ? std::optional{header} : std::nullopt;
}

} // namespace zel
