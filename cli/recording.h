#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "measured_signal.h"
#include "sample.h"

namespace zel::cli {

/// Turns blocks of measured values into the rows of a CSV file: one row for each time, one column
/// for each signal. What was lost is told where it is missing.
class Recording {
public:
    using Write = std::function<void(std::string_view)>;
    using Notice = std::function<void(const std::string&)>;

    /// Signals come under their position in the list, counted from 1, as user signal id.
    Recording(std::vector<MeasuredSignal> signals, std::vector<std::string> heading, Write write,
              Notice notice);

    /// Only what is measured within this time from the first sample on.
    void limit(std::uint64_t nanoseconds) { m_length = nanoseconds; }

    /// `isAll`: the module had no more at that moment. Throws CommandFailure for bytes that are no
    /// block.
    void take(const void* block, std::uint64_t size, bool isAll);
    /// Writes what still waits for other signals.
    void finish();

    /// Whether the evenly sampled signals have come up to the limit; the others come when they
    /// come.
    bool isComplete() const;

    std::uint64_t samples() const { return m_samples; }
    std::uint64_t lost() const { return m_lost; }
    std::uint64_t gaps() const { return m_gaps; }
    std::uint64_t rows() const { return m_rows; }

private:
    static constexpr std::uint64_t kEverything = std::numeric_limits<std::uint64_t>::max();

    struct Track {
        MeasuredSignal signal;
        std::deque<Sample> waiting;
        bool hasBegun = false;
        bool isEven = false;
        std::uint64_t rate = 0;  // in millihertz
        std::uint64_t start = 0; // of the run of samples since the last gap
        std::uint64_t count = 0; // of that run
    };

    void takeRecord(const void* block, const ZEL_DaqHeader& header, std::uint64_t offset);
    void noteGap(Track& track, std::uint64_t expected, std::uint64_t found);
    void writeUntil(std::uint64_t time);
    void writeHeading();
    void writeRow(std::uint64_t time);
    void flush(bool isLast);

    std::vector<Track> m_tracks;
    std::vector<std::string> m_heading;
    const Write m_write;
    const Notice m_notice;
    std::vector<Sample> m_decoded;
    std::string m_text;
    bool m_hasHeading = false;
    std::uint64_t m_start = 0;
    std::uint64_t m_length = kEverything;
    std::uint64_t m_end = kEverything; // known with the first row
    std::uint64_t m_samples = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_gaps = 0;
    std::uint64_t m_rows = 0;
};

} // namespace zel::cli
