#include "call_pattern.h"
#include "daq_block.h"

#include <limits>

using namespace zel;

int32_t ZEL_XUTIL_GetDaqHeader(uint32_t mode, uint32_t key, const void* block, uint64_t size,
                               ZEL_DaqHeader* header, uint64_t* offset)
{
    return checked({block, header, offset}, [&] {
        return daq::findRecord(mode, key, static_cast<const std::byte*>(block), size, *header,
                               *offset);
    });
}

int32_t ZEL_XUTIL_GetDaqData(uint64_t offset, const void* block, const ZEL_DaqHeader* header,
                             void* output, uint64_t size)
{
    if (!isOneNull({block, header, output}))
        daq::convertData(static_cast<const std::byte*>(block) + offset, *header,
                         static_cast<std::byte*>(output), size);
    return ZEL_OK;
}

int32_t ZEL_XUTIL_GetNilValues(double* real, int32_t* integer, uint32_t* unsigned_)
{
    if (real != nullptr)
        *real = std::numeric_limits<double>::max();
    if (integer != nullptr)
        *integer = std::numeric_limits<std::int32_t>::max();
    if (unsigned_ != nullptr)
        *unsigned_ = std::numeric_limits<std::uint32_t>::max();
    return ZEL_OK;
}
