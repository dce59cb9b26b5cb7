#pragma once

#include "setup.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace zel::acquisition {

/// When the samples of an evenly sampled signal were taken: sample `firstIndex` at `first`, and each
/// later one a period after the one before, without adding up what rounding loses.
struct TimeLine {
    std::uint64_t firstIndex = 0;
    std::uint64_t first = 0; ///< nanoseconds since 1970
    std::uint64_t rate = 0;  ///< millihertz

    std::uint64_t at(std::uint64_t index) const;

    bool operator==(const TimeLine&) const = default;
};

/// Samples of one signal, one behind the other without a gap.
struct Chunk {
    std::size_t signal = 0;  ///< position in Setup::signals
    std::uint64_t index = 0; ///< of the first sample: counts all that the module has made
    std::size_t count = 0;
    TimeLine line;          ///< where the signal is sampled evenly
    std::size_t values = 0; ///< where they begin in Batch::bytes, aligned for their type
    std::size_t times = 0;  ///< the same for their times, where each sample has its own
};

/// Why samples are missing.
enum class Cause : std::uint8_t {
    timeStep, ///< the module's times went on later than they should have
    overrun,  ///< the module says that it could not keep what nobody fetched
    cut,      ///< a block was no block, or ended before its end
    outage,   ///< the link was lost
    restart,  ///< the module began anew; how many samples it made meanwhile is estimated
    changed,  ///< the module sends another data type than at the beginning
    queue,    ///< the sink was too slow: missing in its recording only
    noSpace,  ///< there was no room on the disk: missing in that recording only
    clockSet  ///< the module's clock was set; nothing is known to be missing
};
std::string_view nameOf(Cause cause);
std::optional<Cause> causeNamed(std::string_view name);

/// Samples that a module has made and that are missing.
struct Gap {
    std::size_t signal = 0;
    std::uint64_t index = 0; ///< of the first that is missing
    std::uint64_t count = 0; ///< 0 where nobody knows: samples with times of their own
    std::uint64_t begin = 0; ///< when the first one was due, nanoseconds since 1970
    std::uint64_t end = 0;   ///< time of the first sample behind
    Cause cause = Cause::timeStep;
};

/// A module's clock against the host's.
struct ClockEstimate {
    std::size_t module = 0;
    std::uint64_t moduleTime = 0; ///< for which it holds, nanoseconds since 1970
    std::int64_t offset = 0;      ///< host's minus module's time, nanoseconds
    double drift = 0;             ///< seconds that the offset grows by in each second
    std::uint64_t uncertainty = 0; ///< of the offset, nanoseconds, either way
};

/// Memory that is written before it is read need not be cleared first.
template <class T>
struct UnclearedAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = UnclearedAllocator<U>;
    };
    template <class U>
    void construct(U* place) noexcept
    {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Arguments>
    void construct(U* place, Arguments&&... arguments)
    {
        std::construct_at(place, std::forward<Arguments>(arguments)...);
    }
};

/// What came from one module at once. For each signal chunks and gaps are in the order of their
/// indices, without overlap, and go on where the batch before ended. Never changed once it is
/// made, and shared by all sinks.
struct Batch {
    std::size_t module = 0;
    std::uint64_t receivedAt = 0; ///< by the host's clock, nanoseconds since 1970
    std::vector<Chunk> chunks;
    std::vector<Gap> gaps;
    std::optional<ClockEstimate> clock; ///< where it has changed
    std::vector<std::byte, UnclearedAllocator<std::byte>> bytes;

    template <class T>
    std::span<const T> valuesOf(const Chunk& chunk) const
    {
        return {reinterpret_cast<const T*>(bytes.data() + chunk.values), chunk.count};
    }
    /// Where each sample has a time of its own.
    std::span<const std::uint64_t> timesOf(const Chunk& chunk) const
    {
        return {reinterpret_cast<const std::uint64_t*>(bytes.data() + chunk.times), chunk.count};
    }
    std::uint64_t timeOf(const Chunk& chunk, std::size_t sample) const
    {
        return chunk.line.rate != 0 ? chunk.line.at(chunk.index + sample) : timesOf(chunk)[sample];
    }
    /// Bytes of memory, about.
    std::size_t size() const
    {
        return sizeof *this + bytes.capacity() + chunks.capacity() * sizeof(Chunk) +
               gaps.capacity() * sizeof(Gap);
    }
};
using SharedBatch = std::shared_ptr<const Batch>;

} // namespace zel::acquisition
