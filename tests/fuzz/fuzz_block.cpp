// Any bytes as a block of measured values: the walk ends, and what is found lies in the block.

#include "ZEL_VR_Framework.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
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
            const std::uint64_t element = (header.dataType & 15) == 0 ? 16 : header.dataType & 15;
            const std::uint64_t bytes = element * header.count;
            require(offset >= 24 && offset <= size && bytes <= size - offset);
            const std::uint64_t room = i % 3 == 0 ? bytes : bytes * i / 20;
            const auto output = std::make_unique<std::uint8_t[]>(room);
            ZEL_XUTIL_GetDaqData(offset, block.get(), &header, output.get(), room);
            if (mode == ZEL_DAQ_BY_SIGNAL)
                break;
        }
    }
    return 0;
}
