#pragma once

#include "recording_track.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace zel::cli {

/// Turns blocks of measured values into the lines of a CSV file: one row for each time, one column
/// for each signal. What is missing is counted, and told where it is missing, at the start and at
/// the end too.
class Recording {
public:
    using Clock = std::chrono::steady_clock;
    /// Whole lines, and how many rows are among them.
    using Write = std::function<void(std::string_view, std::uint64_t)>;
    /// A gap, for people, and how many samples are lost in it.
    using Notice = std::function<void(const std::string&, std::uint64_t)>;

    /// Signals come under their position in the list, counted from 1, as user signal id.
    Recording(const std::vector<MeasuredSignal>& signals, std::vector<std::string> heading,
              Write write, Notice notice);

    /// Only what is measured within this time from the first row on.
    void limit(std::uint64_t nanoseconds);
    /// Only what has been measured until now, of which the module may still hold some.
    void stopNow();

    /// `hasMore`: the module may have more to give at once. Writes what is ready; a signal that
    /// does not come holds the others up for a fraction of a second. Throws CommandFailure for
    /// bytes that are no block.
    void take(const void* block, std::uint64_t size, bool hasMore);

    /// Whether all that belongs to the recording has come, or what is missing does not come.
    bool isOver(bool hasMore) const;

    /// Writes what still waits for other signals, and the last line.
    void finish();
    /// Writes what still waits; how it ended is for the caller to say.
    void breakOff();

    std::uint64_t samples() const { return m_samples; }
    std::uint64_t lost() const { return m_lost; }
    std::uint64_t gaps() const { return m_gaps; }
    std::uint64_t rows() const { return m_rows; }
    /// Signals that came so late that their rows are not in the order of time.
    std::uint64_t late() const { return m_late; }
    /// From the first row to the last.
    double seconds() const;

private:
    static constexpr std::uint64_t kEverything = std::numeric_limits<std::uint64_t>::max();

    /// Where it is missing decides how its length is rounded to samples.
    enum class Place : std::uint8_t { start, between, end };
    struct Gap {
        const RecordingTrack* track = nullptr;
        std::uint64_t end = 0;
        Place place = Place::between;
    };

    std::uint64_t takeRecord(const unsigned char* block, std::uint64_t size);
    void placeEven(RecordingTrack& track, std::uint64_t time);
    void noteFirstSample(std::uint64_t time, bool isEven);
    void turnBack(const RecordingTrack& track, std::uint64_t expected, std::uint64_t found);
    void keep(RecordingTrack& track);
    void dropBeyondEnd();
    bool hasCome(const RecordingTrack& track, bool hasMore) const;
    std::uint64_t newestEven() const;

    void writeReady(bool hasMore);
    std::uint64_t readyUntil(bool hasMore);
    RecordingTrack* slowest();
    std::size_t waiting() const;
    void writeUntil(std::uint64_t time);
    void begin(std::uint64_t time);
    void writeHeading();
    void writeRow(std::uint64_t time);
    void flush();

    void noteLateBeginning(const RecordingTrack& track);
    void noteMissingEnds();
    void writeGapsUntil(std::uint64_t time);
    void writeGap(std::uint64_t begin, Gap gap);
    void tell(const std::string& note, std::uint64_t lost);

    std::vector<RecordingTrack> m_tracks; // as many as there are from the start
    const std::vector<std::string> m_heading;
    const Write m_write;
    const Notice m_notice;
    std::vector<Sample> m_decoded;
    std::multimap<std::uint64_t, Gap> m_missing; // by their beginnings; not yet written
    std::string m_text;
    std::uint64_t m_rowsInText = 0;

    bool m_hasSamples = false;
    bool m_hasOrigin = false;
    std::uint64_t m_origin = 0; // the first sample of any even signal
    bool m_hasHeading = false;
    std::uint64_t m_start = 0;  // time of the first row
    std::uint64_t m_latest = 0; // of the last one
    std::uint64_t m_length = kEverything;
    std::uint64_t m_end = kEverything; // known with the first row or with stopNow()
    bool m_isStopping = false;
    Clock::time_point m_due;      // when all should have come
    Clock::time_point m_progress; // when something came that was missing

    // How far the even signals were when the module last had no more.
    std::uint64_t m_reached = 0;
    Clock::time_point m_reachedAt;

    std::uint64_t m_samples = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_gaps = 0;
    std::uint64_t m_late = 0;
    std::uint64_t m_rows = 0;
};

} // namespace zel::cli
