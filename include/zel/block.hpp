/**
 * @file block.hpp
 * Blocks of measured values, their records and elements. Included by ZEL_VR_Framework.hpp. Nothing
 * in here needs a started library or asks a module, and all of it returns at once.
 */
#ifndef ZEL_BLOCK_HPP
#define ZEL_BLOCK_HPP

#include "error.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zel {

/* ------------------------------------------------------------------------------------------------
 * Values
 * --------------------------------------------------------------------------------------------- */

/// The types that values come in.
template <class T>
concept Value = std::same_as<T, std::int32_t> || std::same_as<T, std::int64_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::uint64_t> || std::same_as<T, float> ||
    std::same_as<T, double>;

/// What stands for "no value" in a type: its largest finite number, as in ZEL_VR_Framework.h.
template <Value T>
inline constexpr T noValue = (std::numeric_limits<T>::max)();

/// Whether a value is none: the marker above, or a NaN.
template <Value T>
bool isNoValue(T value) noexcept
{
    if constexpr (std::is_floating_point_v<T>)
        return value == noValue<T> || std::isnan(value);
    else
        return value == noValue<T>;
}

/// Whether the elements of a data type (ZEL_DAQ_...) carry times of their own.
constexpr bool isTimed(std::uint32_t dataType) noexcept
{
    switch (dataType) {
    case ZEL_DAQ_TIMED_INT64:
    case ZEL_DAQ_TIMED_INT32:
    case ZEL_DAQ_TIMED_REAL64:
    case ZEL_DAQ_TIMED_REAL32:
    case ZEL_DAQ_TIMED_UINT64:
    case ZEL_DAQ_TIMED_UINT32:
        return true;
    default:
        return false;
    }
}

/// Bytes of one element in a block, 1 to 16, whatever the number stands for.
constexpr std::size_t elementSize(std::uint8_t dataType) noexcept
{
    const std::size_t size = dataType & 15U;
    return size == 0 ? 16 : size;
}

/// "Float32", "Int64, timed", or the number where the type is not known.
inline std::string dataTypeName(std::uint32_t dataType)
{
    switch (dataType) {
    case ZEL_DAQ_INT32:
        return "Int32";
    case ZEL_DAQ_INT64:
        return "Int64";
    case ZEL_DAQ_REAL32:
        return "Float32";
    case ZEL_DAQ_REAL64:
        return "Float64";
    case ZEL_DAQ_TIMED_INT64:
        return "Int64, timed";
    case ZEL_DAQ_TIMED_INT32:
        return "Int32, timed";
    case ZEL_DAQ_TIMED_REAL64:
        return "Float64, timed";
    case ZEL_DAQ_TIMED_REAL32:
        return "Float32, timed";
    case ZEL_DAQ_TIMED_UINT64:
        return "UInt64, timed";
    case ZEL_DAQ_TIMED_UINT32:
        return "UInt32, timed";
    default:
        return std::to_string(dataType);
    }
}

/* ------------------------------------------------------------------------------------------------
 * Times: nanoseconds since 1970-01-01 00:00 UTC; rates in millihertz
 * --------------------------------------------------------------------------------------------- */

/// A sample rate in hertz as records carry it.
inline std::uint64_t toMillihertz(double hertz) noexcept
{
    constexpr double kMost = 1e15;
    return hertz > 0 ? static_cast<std::uint64_t>((std::min)(hertz * 1000, kMost) + 0.5) : 0;
}

/// How long sample `index` of an evenly sampled signal is taken after sample 0, in nanoseconds:
/// index * 10^12 / millihertz, rounded down; exact for indices and rates up to 10^16. 0 for a rate
/// of 0.
constexpr std::uint64_t timeOfIndex(std::uint64_t index, std::uint64_t millihertz) noexcept
{
    if (millihertz == 0)
        return 0;
    // Without leaving 64 bits: the whole seconds first, of huge rates three digits at a time.
    constexpr std::uint64_t kSecond = 1'000'000'000;
    const std::uint64_t turned = index * 1000;
    std::uint64_t time = turned / millihertz;
    std::uint64_t rest = turned % millihertz;
    if (rest <= (std::numeric_limits<std::uint64_t>::max)() / kSecond)
        return time * kSecond + rest * kSecond / millihertz;
    for (int digits = 0; digits < 9; digits += 3) {
        rest *= 1000;
        time = time * 1000 + rest / millihertz;
        rest %= millihertz;
    }
    return time;
}

/// How many samples are taken in so many nanoseconds: the inverse, not rounded, 1e15 at most.
inline double samplesIn(std::uint64_t nanoseconds, std::uint64_t millihertz) noexcept
{
    constexpr double kMost = 1e15; // whatever a module says, a number that can be counted with
    return (std::min)(static_cast<double>(nanoseconds) * static_cast<double>(millihertz) / 1e12,
                      kMost);
}

/* ------------------------------------------------------------------------------------------------
 * Records
 * --------------------------------------------------------------------------------------------- */

namespace detail {

/// Room for the converted elements of one record, used again for the next one.
class Scratch {
public:
    Scratch() = default;
    Scratch(Scratch&& other) noexcept
        : m_bytes(std::move(other.m_bytes)), m_size(std::exchange(other.m_size, 0))
    {
    }
    template <class T>
    std::span<T> of(std::size_t count)
    {
        const std::size_t size = count * sizeof(T);
        if (size > m_size) {
            m_bytes = std::make_unique_for_overwrite<std::byte[]>(size);
            m_size = size;
        }
        return {reinterpret_cast<T*>(m_bytes.get()), count};
    }

private:
    std::unique_ptr<std::byte[]> m_bytes; // aligned for every fundamental type
    std::size_t m_size = 0;
};

struct BlockScratch {
    Scratch values;
    Scratch times;
};

/// use.template operator()<Native>() with the type of a data type's values; false for a data type
/// that is not known.
template <class Use>
bool withNativeType(std::uint8_t dataType, Use&& use)
{
    switch (dataType) {
    case ZEL_DAQ_INT32:
    case ZEL_DAQ_TIMED_INT32:
        use.template operator()<std::int32_t>();
        return true;
    case ZEL_DAQ_INT64:
    case ZEL_DAQ_TIMED_INT64:
        use.template operator()<std::int64_t>();
        return true;
    case ZEL_DAQ_REAL32:
    case ZEL_DAQ_TIMED_REAL32:
        use.template operator()<float>();
        return true;
    case ZEL_DAQ_REAL64:
    case ZEL_DAQ_TIMED_REAL64:
        use.template operator()<double>();
        return true;
    case ZEL_DAQ_TIMED_UINT64:
        use.template operator()<std::uint64_t>();
        return true;
    case ZEL_DAQ_TIMED_UINT32:
        use.template operator()<std::uint32_t>();
        return true;
    default:
        return false;
    }
}

/// Every number of Native is one of T; a double takes all, those of 64 bits rounded.
template <Value T, Value Native>
inline constexpr bool isTaken = std::same_as<T, Native> || std::same_as<T, double> ||
                                (std::is_integral_v<T> && std::is_integral_v<Native> &&
                                 sizeof(T) > sizeof(Native) &&
                                 (std::is_signed_v<T> || std::is_unsigned_v<Native>));

template <Value T, Value Native>
T converted(Native value) noexcept
{
    return isNoValue(value) ? noValue<T> : static_cast<T>(value);
}

template <Value T>
std::string nameOf()
{
    const std::string kind = std::is_floating_point_v<T> ? "Float"
                             : std::is_signed_v<T>       ? "Int"
                                                         : "UInt";
    return kind + std::to_string(8 * sizeof(T));
}

} // namespace detail

/// One record of a block: so many elements of one signal, one after the other. It refers to the
/// block's bytes: good until the block is fetched into again, moved or destroyed.
///
/// Values are converted from the module's byte order when they are asked for, by
/// ZEL_XUTIL_GetDaqData. Any number of threads may use the records of one block at the same time,
/// but the functions that use the block's own memory by one thread at a time.
class Record {
public:
    /// As ZEL_XUTIL_GetDaqHeader gave it.
    const ZEL_DaqHeader& header() const noexcept { return m_header; }

    /// The number that the signal was subscribed under.
    std::uint16_t signalId() const noexcept { return m_header.signalId; }
    /// ZEL_DAQ_INT32 to ZEL_DAQ_TIMED_UINT32; a number that is none of them where the module sends
    /// what this library does not know.
    std::uint8_t dataType() const noexcept { return m_header.dataType; }
    /// ZEL_DAQ_WITH_RATE or ZEL_DAQ_WITH_BEFORE.
    std::uint8_t kind() const noexcept { return m_header.kind; }
    /// Number of elements.
    std::uint32_t count() const noexcept { return m_header.count; }
    /// Time of the first element.
    std::uint64_t timeStamp() const noexcept { return m_header.timeStamp; }
    /// Whether the elements carry times of their own; else they are sampled evenly.
    bool isTimed() const noexcept { return zel::isTimed(m_header.dataType); }

    /// Sample rate that the record tells; 0 where it tells none.
    std::uint64_t millihertz() const noexcept
    {
        return kind() == ZEL_DAQ_WITH_RATE && !isTimed() ? m_header.extra.u64 : 0;
    }

    /// The signal's value just before the first element, where the record tells one.
    std::optional<double> valueBefore() const;

    /// The elements as the module sent them, in its byte order.
    std::span<const std::byte> data() const noexcept { return m_data; }

    /// Whether values can be had of the data type.
    bool isKnown() const
    {
        return detail::withNativeType(dataType(), []<class>() {});
    }
    /// Whether the values are of exactly this type.
    template <Value T>
    bool holds() const
    {
        bool is = false;
        detail::withNativeType(dataType(), [&]<class Native>() { is = std::same_as<T, Native>; });
        return is;
    }

    /// Converts the values into memory of the caller's, which must have room for count() of them:
    /// else std::invalid_argument. T is the type that they have; or double, for any type; or a
    /// whole number that every one of theirs fits. For any other T, and for a data type that is not
    /// known, Error with the code ZEL_SRV_INVALID_PARAMETERS. "No value" becomes noValue<T>.
    template <Value T>
    void copyValues(std::span<T> values) const;

    /// The same into a vector of the caller's, which gets the record's length.
    template <Value T>
    std::span<const T> values(std::vector<T>& into) const
    {
        requireKnownAs<T>(); // before a record of some strange type makes it long
        into.resize(count());
        copyValues(std::span<T>(into));
        return into;
    }

    /// The same in memory of the block's: good until values() is asked for once more, of any record
    /// of the block.
    template <Value T>
    std::span<const T> values() const
    {
        requireKnownAs<T>();
        const auto into = m_scratch->values.of<T>(count());
        copyValues(into);
        return into;
    }

    /// Calls use(values) with the values in the type that they have, a std::span<const T> in the
    /// block's own memory: for who keeps them as they are, whatever type that is. Error with the
    /// code ZEL_SRV_INVALID_PARAMETERS for a data type that is not known.
    template <class Use>
    void visitValues(Use&& use) const
    {
        if (!detail::withNativeType(dataType(), [&]<class Native>() { use(values<Native>()); }))
            requireKnownAs<double>();
    }

    /// Time of one element. An evenly sampled one lies timeOfIndex() behind the time stamp, by the
    /// record's own rate, or by `millihertz` where it tells none. std::out_of_range for an index
    /// from count() on.
    std::uint64_t time(std::uint32_t index, std::uint64_t millihertz = 0) const;

    /// Times of all elements, in memory of the caller's with room for count() of them, else
    /// std::invalid_argument.
    void copyTimes(std::span<std::uint64_t> times, std::uint64_t millihertz = 0) const;

    /// The same into a vector of the caller's, which gets the record's length.
    std::span<const std::uint64_t> times(std::vector<std::uint64_t>& into,
                                         std::uint64_t millihertz = 0) const
    {
        into.resize(count());
        copyTimes(into, millihertz);
        return into;
    }

    /// The same in memory of the block's: good until times() is asked for once more.
    std::span<const std::uint64_t> times(std::uint64_t millihertz = 0) const
    {
        const auto into = m_scratch->times.of<std::uint64_t>(count());
        copyTimes(into, millihertz);
        return into;
    }

private:
    friend class BlockIterator;

    template <Value T>
    void requireKnownAs() const;
    template <class Element, class Take>
    void forEach(Take&& take) const;
    void convert(std::uint32_t first, std::uint32_t number, void* into, std::size_t size) const
    {
        ZEL_DaqHeader piece = m_header;
        piece.count = number;
        ZEL_XUTIL_GetDaqData(std::uint64_t{first} * elementSize(dataType()), m_data.data(), &piece,
                             into, size);
    }

    ZEL_DaqHeader m_header{};
    std::span<const std::byte> m_data;
    detail::BlockScratch* m_scratch = nullptr;
};

/* ------------------------------------------------------------------------------------------------
 * Blocks
 * --------------------------------------------------------------------------------------------- */

/// Walks a block from record to record, each found from the end of the one before: once through the
/// block, however many there are. Made by Block::begin().
class BlockIterator {
public:
    using iterator_concept = std::input_iterator_tag;
    using difference_type = std::ptrdiff_t;
    using value_type = Record;

    BlockIterator() = default;
    BlockIterator(std::span<const std::byte> bytes, detail::BlockScratch& scratch)
        : m_bytes(bytes), m_rest(bytes)
    {
        m_record.m_scratch = &scratch;
        read();
    }

    const Record& operator*() const noexcept { return m_record; }
    const Record* operator->() const noexcept { return &m_record; }
    BlockIterator& operator++()
    {
        m_rest = m_next;
        ++m_index;
        read();
        return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t) const noexcept { return m_rest.empty(); }

private:
    void read();

    std::span<const std::byte> m_bytes; // the whole block
    std::span<const std::byte> m_rest;  // from this record on
    std::span<const std::byte> m_next;  // behind it
    std::size_t m_index = 0;
    Record m_record;
};

/// A block of measured values: bytes of its own, which Subscription::fetch() fills again and again
/// without allocating, or a look at bytes of the caller's. A range of its records:
///
///     for (const zel::Record& record : block)
///         for (const float value : record.values<float>())
///             ...
///
/// The bytes come from a module and may hold anything. Begin and increment throw Error with the
/// code ZEL_DAQ_NO_RECORD where what is left is no whole record; the records before that have been
/// walked by then, and nothing beyond the bytes is ever read.
///
/// One thread at a time, but see Record. Move only.
class Block {
public:
    /// What a fetch asks for, unless told otherwise.
    static constexpr std::size_t kCapacity = std::size_t{1} << 20U;

    /// An empty block that takes up to so many bytes, which the module is told; not 0, else
    /// std::invalid_argument.
    explicit Block(std::size_t capacity = kCapacity)
        : m_own(std::make_unique_for_overwrite<std::byte[]>(capacity)), m_capacity(capacity)
    {
        if (capacity == 0)
            throw std::invalid_argument("a block has room for one byte at least");
    }
    /// A look at a block that the caller has, and keeps for as long as this is used.
    explicit Block(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    /// What was moved from is empty, and cannot be fetched into.
    Block(Block&& other) noexcept
        : m_own(std::move(other.m_own)),
          m_capacity(std::exchange(other.m_capacity, 0)),
          m_bytes(std::exchange(other.m_bytes, {})),
          m_scratch(std::move(other.m_scratch))
    {
    }
    Block& operator=(Block&& other) noexcept
    {
        m_own = std::move(other.m_own);
        m_capacity = std::exchange(other.m_capacity, 0);
        m_bytes = std::exchange(other.m_bytes, {});
        return *this;
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() = default;

    /// What was received.
    std::span<const std::byte> bytes() const noexcept { return m_bytes; }
    bool empty() const noexcept { return m_bytes.empty(); }
    /// The most that it can take; 0 for a look at the caller's bytes.
    std::size_t capacity() const noexcept { return m_capacity; }

    BlockIterator begin() const { return {m_bytes, m_scratch}; }
    std::default_sentinel_t end() const noexcept { return {}; }

    /// The room that a fetch writes to; null for a look at the caller's bytes, and after a move.
    std::byte* room() noexcept { return m_own.get(); }
    /// Says how many bytes of the room are the block now; what is above the capacity does not
    /// count.
    void setSize(std::uint64_t size) noexcept
    {
        m_bytes = {m_own.get(), static_cast<std::size_t>(
                                    (std::min)(size, static_cast<std::uint64_t>(m_capacity)))};
    }

private:
    std::unique_ptr<std::byte[]> m_own;
    std::size_t m_capacity = 0;
    std::span<const std::byte> m_bytes;
    mutable detail::BlockScratch m_scratch;
};

inline void BlockIterator::read()
{
    if (m_rest.empty())
        return;
    std::uint64_t offset = 0;
    ZEL_DaqHeader& header = m_record.m_header;
    if (ZEL_XUTIL_GetDaqHeader(ZEL_DAQ_BY_INDEX, 0, m_rest.data(), m_rest.size(), &header,
                               &offset) != ZEL_OK) {
        throw Error({.code = ZEL_DAQ_NO_RECORD,
                     .tried = "read record " + std::to_string(m_index) + " of a block, at byte " +
                              std::to_string(m_bytes.size() - m_rest.size()) + " of " +
                              std::to_string(m_bytes.size()),
                     .codeText = "the bytes there are no whole record"});
    }
    const std::size_t size = elementSize(header.dataType) * std::size_t{header.count};
    m_record.m_data = m_rest.subspan(static_cast<std::size_t>(offset), size);
    m_next = m_rest.subspan(static_cast<std::size_t>(offset) + size);
}

/* ------------------------------------------------------------------------------------------------
 * How the elements of a record are read
 * --------------------------------------------------------------------------------------------- */

template <Value T>
void Record::requireKnownAs() const
{
    bool isTaken = false;
    const bool isKnown = detail::withNativeType(
        dataType(), [&]<class Native>() { isTaken = detail::isTaken<T, Native>; });
    if (!isTaken) {
        throw Error({.code = ZEL_SRV_INVALID_PARAMETERS,
                     .tried = "read the values of signal " + std::to_string(signalId()) + " as " +
                              detail::nameOf<T>(),
                     .codeText = isKnown ? "they are of type " + dataTypeName(dataType())
                                         : "they are of a data type that is not known, " +
                                               std::to_string(dataType())});
    }
}

/// take(index, bytes of the element) for each element, in pieces that stay near the processor.
template <class Element, class Take>
void Record::forEach(Take&& take) const
{
    constexpr std::uint32_t kAtOnce = 4096 / sizeof(Element);
    std::array<std::byte, kAtOnce * sizeof(Element)> piece;
    for (std::uint32_t first = 0; first < count(); first += kAtOnce) {
        const std::uint32_t number = (std::min)(kAtOnce, count() - first);
        convert(first, number, piece.data(), piece.size());
        for (std::uint32_t i = 0; i < number; ++i)
            take(first + i, piece.data() + i * sizeof(Element));
    }
}

template <Value T>
void Record::copyValues(std::span<T> values) const
{
    requireKnownAs<T>();
    if (values.size() < count())
        throw std::invalid_argument("there is no room for " + std::to_string(count()) + " values");
    detail::withNativeType(dataType(), [&]<class Native>() {
        const auto put = [&](std::uint32_t index, const std::byte* bytes) {
            Native value;
            std::memcpy(&value, bytes, sizeof value);
            values[index] = detail::converted<T>(value);
        };
        if constexpr (!detail::isTaken<T, Native>)
            return;
        else if (isTimed())
            forEach<std::array<std::byte, sizeof(std::uint64_t) + sizeof(Native)>>(
                [&](std::uint32_t index, const std::byte* bytes) {
                    put(index, bytes + sizeof(std::uint64_t));
                });
        else if constexpr (std::same_as<T, Native>)
            convert(0, count(), values.data(), values.size_bytes());
        else
            forEach<Native>(put);
    });
}

inline std::uint64_t Record::time(std::uint32_t index, std::uint64_t millihertz) const
{
    if (index >= count())
        throw std::out_of_range("the record has no element " + std::to_string(index));
    if (!isTimed()) {
        const std::uint64_t own = this->millihertz();
        return timeStamp() + timeOfIndex(index, own != 0 ? own : millihertz);
    }
    std::array<std::byte, 16> element;
    convert(index, 1, element.data(), element.size());
    std::uint64_t time = 0;
    std::memcpy(&time, element.data(), sizeof time);
    return time;
}

inline void Record::copyTimes(std::span<std::uint64_t> times, std::uint64_t millihertz) const
{
    if (times.size() < count())
        throw std::invalid_argument("there is no room for " + std::to_string(count()) + " times");
    const auto put = [&](std::uint32_t index, const std::byte* bytes) {
        std::memcpy(&times[index], bytes, sizeof(std::uint64_t));
    };
    if (isTimed())
        return elementSize(dataType()) == 16 ? forEach<std::array<std::byte, 16>>(put)
                                             : forEach<std::array<std::byte, 12>>(put);
    const std::uint64_t own = this->millihertz();
    const std::uint64_t rate = own != 0 ? own : millihertz;
    // timeOfIndex() from one to the next, without a division each.
    constexpr std::uint64_t kUnit = 1'000'000'000'000;
    const std::uint64_t step = rate == 0 ? 0 : kUnit / rate;
    const std::uint64_t more = rate == 0 ? 0 : kUnit % rate;
    std::uint64_t time = timeStamp();
    std::uint64_t rest = 0;
    for (std::uint32_t i = 0; i < count(); ++i) {
        times[i] = time;
        const bool isNextStep = rest >= rate - more && rate != 0;
        rest = isNextStep ? rest - (rate - more) : rest + more;
        time += step + (isNextStep ? 1 : 0);
    }
}

inline std::optional<double> Record::valueBefore() const
{
    if (kind() != ZEL_DAQ_WITH_BEFORE)
        return {};
    const auto known = [](auto value) {
        return isNoValue(value) ? std::optional<double>{} : static_cast<double>(value);
    };
    const ZEL_DaqExtra& extra = m_header.extra;
    switch (dataType()) {
    case ZEL_DAQ_INT32:
        return known(extra.i32);
    case ZEL_DAQ_TIMED_UINT32:
        return known(extra.u32);
    case ZEL_DAQ_REAL32:
    case ZEL_DAQ_TIMED_REAL32:
    case ZEL_DAQ_TIMED_INT32: // which modules give as a float
        return known(extra.f32);
    case ZEL_DAQ_INT64:
    case ZEL_DAQ_TIMED_INT64:
        return known(extra.i64);
    case ZEL_DAQ_TIMED_UINT64:
        return known(extra.u64);
    case ZEL_DAQ_REAL64:
    case ZEL_DAQ_TIMED_REAL64:
        return known(extra.f64);
    default:
        return {};
    }
}

} // namespace zel

#endif
