#pragma once

#include "ZEL_VR_Framework.h"

#include <cstddef>
#include <cstdint>

/// Blocks of measured values: records of a 24-byte header and its data, big-endian, back to back.
/// They come from a module and may hold anything.
namespace zel::daq {

/// Finds the first record of a user signal id (ZEL_DAQ_BY_SIGNAL) or the record with an index
/// (ZEL_DAQ_BY_INDEX) and converts its header. ZEL_DAQ_NO_RECORD where there is none, where the
/// walk meets an unknown kind of record, or where the record's data are not wholly in the block.
std::int32_t findRecord(std::uint32_t mode, std::uint32_t key, const std::byte* block,
                        std::uint64_t size, ZEL_DaqHeader& header, std::uint64_t& offset);

/// Converts as many bytes of a record's data as there are and as fit; whole elements only, where
/// the data type is known. The output may be the data themselves.
void convertData(const std::byte* data, const ZEL_DaqHeader& header, std::byte* output,
                 std::uint64_t size);

} // namespace zel::daq
