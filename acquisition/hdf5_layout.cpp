#include "hdf5_layout.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace zel::acquisition::hdf5 {

namespace {

constexpr auto kText = Column::Kind::text;
constexpr auto kWhole = Column::Kind::whole;
constexpr auto kUnsigned = Column::Kind::unsignedWhole;
constexpr auto kReal = Column::Kind::real;

hid_t typeOf(const Column& column)
{
    switch (column.kind) {
    case kReal: return hdf5::typeOf(ValueType::float64);
    case kWhole: return hdf5::typeOf(ValueType::int64);
    default: return hdf5::typeOf(ValueType::uint64);
    }
}

template <class Value>
std::vector<std::byte> bytesOf(Value value)
{
    const auto bytes = std::as_bytes(std::span(&value, 1));
    return {bytes.begin(), bytes.end()};
}

} // namespace

RowType::RowType(std::vector<Column> columns)
    : m_size(std::accumulate(columns.begin(), columns.end(), std::size_t{0},
                             [](std::size_t sum, const Column& c) { return sum + c.size; }))
{
    m_type = Handle{"make a type", H5Tclose, [&] { return H5Tcreate(H5T_COMPOUND, m_size); }};
    std::size_t offset = 0;
    for (const Column& column : columns) {
        const Handle text = column.kind == kText ? textType(column.size) : Handle{};
        const hid_t type = text ? text.id() : typeOf(column);
        call("make a type", [&] { return H5Tinsert(m_type.id(), column.name, offset, type); });
        offset += column.size;
    }
}

RowType gapRows(std::size_t signalLength)
{
    return RowType({{"signal", signalLength, kText},
                    {"index", 8, kUnsigned},
                    {"count", 8, kUnsigned},
                    {"begin", 8, kWhole},
                    {"end", 8, kWhole},
                    {"cause", kCauseColumn, kText}});
}

RowType anchorRows(std::size_t signalLength)
{
    return RowType({{"signal", signalLength, kText},
                    {"index", 8, kUnsigned},
                    {"time", 8, kWhole},
                    {"rate", 8, kReal}});
}

RowType clockRows()
{
    return RowType({{"module_time", 8, kWhole},
                    {"offset", 8, kWhole},
                    {"drift", 8, kReal},
                    {"uncertainty", 8, kWhole}});
}

RowType totalsRows(std::size_t signalLength)
{
    return RowType({{"signal", signalLength, kText},
                    {"first_index", 8, kUnsigned},
                    {"end_index", 8, kUnsigned},
                    {"samples", 8, kUnsigned},
                    {"missing", 8, kUnsigned},
                    {"gaps", 8, kUnsigned},
                    {"check", 8, kUnsigned}});
}

std::uint64_t checkOf(const SignalTotals& totals)
{
    std::uint64_t sum = 0x7a656c;
    for (const std::uint64_t part : {totals.firstIndex, totals.endIndex, totals.samples,
                                     totals.missing, totals.gaps})
        sum = (sum ^ part) * 0x9e3779b97f4a7c15U + (sum >> 29U);
    return sum;
}

std::vector<std::byte> fillerOf(ValueType type)
{
    switch (type) {
    case ValueType::int32: return bytesOf(std::numeric_limits<std::int32_t>::max());
    case ValueType::uint32: return bytesOf(std::numeric_limits<std::uint32_t>::max());
    case ValueType::float32: return bytesOf(std::numeric_limits<float>::quiet_NaN());
    case ValueType::int64: return bytesOf(std::numeric_limits<std::int64_t>::max());
    case ValueType::uint64: return bytesOf(std::numeric_limits<std::uint64_t>::max());
    case ValueType::float64: break;
    }
    return bytesOf(std::numeric_limits<double>::quiet_NaN());
}

std::string ObjectNames::next(std::string_view wanted)
{
    std::string name(wanted);
    std::ranges::replace_if(
        name, [](char c) { return c == '/' || static_cast<unsigned char>(c) < ' '; }, '_');
    if (name.empty() || name == "." || name == "..")
        name = "_" + name;
    std::string unique = name;
    for (int number = 2; m_used.contains(unique); ++number)
        unique = name + "_" + std::to_string(number);
    m_used.insert(unique);
    return unique;
}

} // namespace zel::acquisition::hdf5
