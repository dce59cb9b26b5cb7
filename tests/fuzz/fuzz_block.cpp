// Any bytes as a block of measured values: the walk ends, what is found lies in the block, and its
// data are turned number by number.

#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

std::uint64_t elementSize(const ZEL_DaqHeader& header)
{
    return (header.dataType & 15) == 0 ? 16 : header.dataType & 15;
}

/// The sizes of the two numbers of an element, 0 where it has only one; none are known of others.
std::pair<std::size_t, std::size_t> numbersOf(std::uint8_t type)
{
    switch (type) {
    case 20:
    case 36:
        return {4, 0};
    case 24:
    case 40:
        return {8, 0};
    case 80:
    case 96:
    case 224:
        return {8, 8};
    case 92:
    case 108:
    case 236:
        return {8, 4};
    default:
        return {0, 0};
    }
}

/// Converts by the byte.
void convertSlowly(std::uint8_t type, const std::uint8_t* data, std::uint8_t* output,
                   std::size_t size)
{
    const auto [first, second] = numbersOf(type);
    if (first == 0) {
        if (size > 0)
            std::memcpy(output, data, size);
        return;
    }
    const std::size_t whole = size - size % (first + second);
    for (std::size_t at = 0; at < whole; ++at) {
        const std::size_t inside = at % (first + second);
        const std::size_t element = at - inside;
        output[at] = inside < first ? data[element + first - 1 - inside]
                                    : data[element + first + second - 1 - (inside - first)];
    }
}

/// The conversion writes what it should, and not a byte behind.
void checkConversion(std::uint64_t offset, const std::uint8_t* block, const ZEL_DaqHeader& header,
                     std::uint64_t room)
{
    const auto output = std::make_unique<std::uint8_t[]>(room);
    const auto expected = std::make_unique<std::uint8_t[]>(room);
    require(ZEL_XUTIL_GetDaqData(offset, block, &header, output.get(), room) == ZEL_OK);
    convertSlowly(header.dataType, block + offset, expected.get(),
                  std::min(room, elementSize(header) * header.count));
    require(room == 0 || std::memcmp(output.get(), expected.get(), room) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Of exactly its size, so that the sanitizer sees every byte beyond.
    const auto block = std::make_unique<std::uint8_t[]>(size);
    if (size > 0)
        std::memcpy(block.get(), data, size);
    const std::uint32_t key = size > 3 ? data[3] : 0;
    for (const std::uint32_t mode : {ZEL_DAQ_BY_SIGNAL, ZEL_DAQ_BY_INDEX, UINT32_C(2)}) {
        ZEL_DaqHeader header;
        std::uint64_t offset = 0;
        for (std::uint32_t i = 0; i < 20; ++i) {
            const std::uint32_t wanted = mode == ZEL_DAQ_BY_INDEX ? i : key;
            if (ZEL_XUTIL_GetDaqHeader(mode, wanted, block.get(), size, &header, &offset) != 0)
                break;
            const std::uint64_t bytes = elementSize(header) * header.count;
            require(offset >= 24 && offset <= size && bytes <= size - offset);
            const std::uint64_t room = i % 3 == 0 ? bytes + i : bytes * i / 20;
            checkConversion(offset, block.get(), header, room);
            if (mode == ZEL_DAQ_BY_SIGNAL)
                break;
        }
    }
    return 0;
}
