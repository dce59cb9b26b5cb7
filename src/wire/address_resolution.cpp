#include "address_resolution.h"

namespace zel {

namespace {

constexpr std::size_t kReservedSize = 4;

} // namespace

std::array<std::byte, AddressResolutionRequest::kSize> AddressResolutionRequest::encode() const
{
    std::array<std::byte, kSize> bytes;
    ByteWriter out{bytes};
    out.u16(kType);
    out.u16(label);
    return bytes;
}

std::optional<AddressResolutionRequest> AddressResolutionRequest::decode(ByteReader& in)
{
    const std::uint16_t type = in.u16();
    const AddressResolutionRequest request{in.u16()};
    return in.good() && type == kType ? std::optional{request} : std::nullopt;
}

std::array<std::byte, AddressResolutionResponse::kSize> AddressResolutionResponse::encode() const
{
    std::array<std::byte, kSize> bytes;
    ByteWriter out{bytes};
    out.u16(kType);
    out.u16(label);
    out.u32(0u);
    out.u64(uuid);
    return bytes;
}

std::optional<AddressResolutionResponse> AddressResolutionResponse::decode(ByteReader& in)
{
    const std::uint16_t type = in.u16();
    AddressResolutionResponse response;
    response.label = in.u16();
    in.skip(kReservedSize);
    response.uuid = in.u64();
    return in.good() && type == kType ? std::optional{response} : std::nullopt;
}

} // namespace zel
