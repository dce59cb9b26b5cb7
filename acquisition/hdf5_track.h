#pragma once

#include "batch.h"
#include "hdf5_content.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace zel::acquisition::hdf5 {

inline constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
inline constexpr std::uint64_t kMostSamples = 65536; ///< of a signal in a batch

/// Goes through one signal of a file. Throws Failure.
class Track {
public:
    Track(const Content& content, std::size_t signal);

    /// When the next sample was taken, or a gap begins: kNever, where all is given.
    std::uint64_t time() const { return m_time; }
    /// Adds what is older than that, kMostSamples at most.
    void take(Batch& batch, std::uint64_t until);

private:
    const Gap* nextGap() const;
    std::uint64_t timeOfNext();
    void takeGap(Batch& batch);
    std::size_t takeSamples(Batch& batch, std::uint64_t until, std::size_t most);
    std::size_t countUntil(std::uint64_t until, std::size_t most);
    std::uint64_t timeAt(std::size_t sample);
    std::uint64_t endOfRun();

    const Content& m_content;
    const SignalContent& m_part;
    const std::size_t m_signal;
    const bool m_isEven;
    const std::size_t m_valueSize;
    const std::uint64_t m_first;
    const std::uint64_t m_end;
    std::uint64_t m_index;   // of the next sample
    std::uint64_t m_row = 0; // where it lies
    std::uint64_t m_time = kNever;
    std::size_t m_line = 0;
    std::size_t m_gap = 0;
    std::uint64_t m_timesBegin = 0; // row of the first of these
    std::vector<std::uint64_t> m_times;
};

} // namespace zel::acquisition::hdf5
