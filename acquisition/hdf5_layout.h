#pragma once

#include "batch.h"
#include "hdf5_library.h"
#include "setup.h"
#include "signal_totals.h"

#include <array>
#include <cstring>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What a recording looks like as an HDF5 file:
//
//   /                        how it was made, and how it ended
//   /<module>                who it is
//   /<module>/parameters     its parameter document
//   /<module>/gaps           samples that are missing
//   /<module>/anchors        from where on samples have which times
//   /<module>/clock          its clock against the host's
//   /<module>/totals         of each signal, as of the last flush: what is not in there does not count
//   /<module>/data/<signal>  values. Evenly sampled: value i is sample i + first_index
//   /<module>/data/<signal>_time   times, where each sample has its own
namespace zel::acquisition::hdf5 {

inline constexpr const char* kFormat = "zel recording";
inline constexpr std::int64_t kFormatVersion = 1;
inline constexpr const char* kStateRecording = "recording";
inline constexpr const char* kStateComplete = "complete";
inline constexpr const char* kStateBrokenOff = "broken off";
inline constexpr std::size_t kStateLength = 16;
inline constexpr std::size_t kCauseLength = 512;
inline constexpr std::size_t kTimeLength = 32;
inline constexpr const char* kCalibration = "calibration.";

/// A column of a table; texts have no type.
struct Column {
    const char* name;
    std::size_t size;
    enum class Kind { text, whole, unsignedWhole, real } kind;
};

/// A table's rows, their columns one behind the other without a gap.
class RowType {
public:
    explicit RowType(std::vector<Column> columns);

    const Handle& type() const { return m_type; }
    std::size_t size() const { return m_size; }

private:
    Handle m_type;
    std::size_t m_size = 0;
};

RowType gapRows(std::size_t signalLength);
RowType anchorRows(std::size_t signalLength);
RowType clockRows();
RowType totalsRows(std::size_t signalLength);

/// Writes rows, column by column.
class RowWriter {
public:
    RowWriter& text(std::string_view text, std::size_t length)
    {
        const std::size_t end = m_bytes.size() + length;
        const auto bytes = std::as_bytes(std::span(text.substr(0, length)));
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        m_bytes.resize(end);
        return *this;
    }
    template <class Number>
    RowWriter& number(Number value)
    {
        const auto bytes = std::as_bytes(std::span(&value, 1));
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    const std::vector<std::byte>& bytes() const { return m_bytes; }
    void clear() { m_bytes.clear(); }

private:
    std::vector<std::byte> m_bytes;
};

/// The same back, in the same order.
class RowReader {
public:
    explicit RowReader(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    bool hasMore() const { return !m_bytes.empty(); }
    std::string text(std::size_t length)
    {
        const std::string_view all(reinterpret_cast<const char*>(m_bytes.data()), length);
        m_bytes = m_bytes.subspan(length);
        return std::string(all.substr(0, all.find('\0')));
    }
    template <class Number>
    Number number()
    {
        Number value{};
        std::memcpy(&value, m_bytes.data(), sizeof value);
        m_bytes = m_bytes.subspan(sizeof value);
        return value;
    }

private:
    std::span<const std::byte> m_bytes;
};

inline constexpr std::size_t kCauseColumn = 16;

/// Tells a row of totals that was written in part from a whole one.
std::uint64_t checkOf(const SignalTotals& totals);

/// What stands where nothing was recorded.
std::vector<std::byte> fillerOf(ValueType type);

/// Names for objects of one group: legal, and each one once.
class ObjectNames {
public:
    std::string next(std::string_view wanted);

private:
    std::set<std::string, std::less<>> m_used;
};

} // namespace zel::acquisition::hdf5
