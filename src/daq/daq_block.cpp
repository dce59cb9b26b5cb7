#include "daq_block.h"

#include "byte_cursor.h"
#include "byte_swapping.h"
#include "data_type.h"

#include <algorithm>
#include <cstring>

namespace zel::daq {

namespace {

constexpr std::uint64_t kHeaderSize = 24;

enum class Layout { unknown, fourBytes, eightBytes, twiceEightBytes, eightAndFourBytes };

/// How the elements of a data type are put together.
Layout layoutOf(std::uint8_t dataType)
{
    const auto type = wire::dataTypeOf(dataType);
    if (!type)
        return Layout::unknown;
    switch (elementSize(*type)) {
    case 4:
        return Layout::fourBytes;
    case 8:
        return Layout::eightBytes;
    case 12:
        return Layout::eightAndFourBytes;
    default:
        return Layout::twiceEightBytes;
    }
}

ZEL_DaqExtra readExtra(ByteReader& in, std::uint8_t kind, std::uint8_t dataType)
{
    ZEL_DaqExtra extra{};
    const Bytes raw = in.rest();
    const Layout layout = layoutOf(dataType);
    if (kind == 1 || layout == Layout::eightBytes || layout == Layout::twiceEightBytes)
        extra.u64 = in.u64();
    else if (layout != Layout::unknown)
        extra.u32 = in.u32();
    else
        std::memcpy(extra.bytes, raw.data(), sizeof extra.bytes);
    return extra;
}

ZEL_DaqHeader readHeader(const std::byte* record)
{
    ByteReader in{{record, kHeaderSize}};
    ZEL_DaqHeader header{};
    header.kind = in.u8();
    header.dataType = in.u8();
    header.signalId = in.u16();
    header.count = in.u32();
    header.timeStamp = in.u64();
    header.extra = readExtra(in, header.kind, header.dataType);
    return header;
}

/// What the walk needs of a header.
struct Step {
    explicit Step(const std::byte* record)
        : kind(std::to_integer<std::uint8_t>(record[0])),
          dataType(std::to_integer<std::uint8_t>(record[1]))
    {
        std::uint16_t id;
        std::uint32_t number;
        std::memcpy(&id, record + 2, sizeof id);
        std::memcpy(&number, record + 4, sizeof number);
        signalId = __builtin_bswap16(id);
        length = kHeaderSize + wire::elementSize(dataType) * __builtin_bswap32(number);
    }

    std::uint8_t kind;
    std::uint8_t dataType;
    std::uint16_t signalId;
    std::uint64_t length;
};

} // namespace

std::int32_t findRecord(std::uint32_t mode, std::uint32_t key, const std::byte* block,
                        std::uint64_t size, ZEL_DaqHeader& header, std::uint64_t& offset)
{
    offset = 0;
    std::uint64_t position = 0;
    for (std::uint32_t index = 0; size - position >= kHeaderSize; ++index) {
        const Step step{block + position};
        if (step.kind == 0 || step.kind > 2) {
            header = readHeader(block + position);
            return ZEL_DAQ_NO_RECORD;
        }
        const bool isIt = (mode == ZEL_DAQ_BY_SIGNAL && step.signalId == key) ||
                          (mode == ZEL_DAQ_BY_INDEX && index == key);
        if (step.length > size - position)
            break;
        if (isIt) {
            header = readHeader(block + position);
            offset = position + kHeaderSize;
            return ZEL_OK;
        }
        position += step.length;
    }
    header = {};
    return ZEL_DAQ_NO_RECORD;
}

void convertData(const std::byte* data, const ZEL_DaqHeader& header, std::byte* output,
                 std::uint64_t size)
{
    const std::uint64_t element = wire::elementSize(header.dataType);
    const std::uint64_t bytes = std::min(size, element * header.count);
    const std::size_t elements = bytes / element;
    switch (layoutOf(header.dataType)) {
    case Layout::fourBytes:
        return swap4(data, output, elements);
    case Layout::eightBytes:
        return swap8(data, output, elements);
    case Layout::twiceEightBytes:
        return swap8(data, output, 2 * elements);
    case Layout::eightAndFourBytes:
        return swap8And4(data, output, elements);
    case Layout::unknown:
        std::memmove(output, data, bytes);
    }
}

} // namespace zel::daq
