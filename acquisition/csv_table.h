#pragma once

#include "batch.h"
#include "clock_notes.h"
#include "whole_output.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zel::acquisition {

/// One file of a CSV recording: a row for each time, a column for each of its signals.
///
/// Rows are put in the order of time over all signals. One that is sampled evenly and behind the
/// others holds them up for a fraction of a second; then it is late, and has rows of its own until
/// it has caught up.
class CsvTable {
public:
    /// `signals`: positions in Setup::signals. `memory`: bytes of values that may wait for other
    /// signals. `isFromFile`: the batches come in the order of their oldest samples, and rows wait
    /// for nothing else. The setup must outlive this. Throws SinkFailure.
    CsvTable(const Setup& setup, std::vector<std::size_t> signals, const OutputTarget& target,
             std::size_t memory, bool isFromFile);

    /// Takes what the batch has for this table. `now`: nanoseconds, on any clock that never goes
    /// back.
    void take(const Batch& batch, std::uint64_t now);
    /// Puts into rows what has waited for long enough.
    void releaseOld(std::uint64_t now);
    /// Writes the rows that are ready; false when there was no room for some. Throws SinkFailure.
    bool write() { return m_output.write(); }
    /// The last call. Throws SinkFailure.
    void finish(const std::string& cause);

    /// Rows, without those that finish() found no room for.
    std::uint64_t rows() const { return m_rows - m_output.rowsLeft(); }
    /// Signals that came so late that their rows are not in the order of time.
    std::uint64_t late() const { return m_late; }
    OutputFile& file() { return m_output.file(); }
    const OutputFile& file() const { return m_output.file(); }

private:
    static constexpr std::uint64_t kEverything = std::numeric_limits<std::uint64_t>::max();
    static constexpr std::size_t kNoTrack = std::numeric_limits<std::size_t>::max();

    /// A part of a chunk that waits: in its batch, until that has been gone through, or in memory
    /// of its own.
    struct Piece {
        const std::byte* values = nullptr;
        const std::byte* times = nullptr; // null where it is sampled evenly
        std::size_t count = 0;
        TimeLine line;
        std::uint64_t index = 0; // of its first sample
        std::uint64_t arrival = 0;
        std::size_t size = 0; // of what m_waiting counts
        std::unique_ptr<std::byte[]> own;

        std::uint64_t time(std::size_t sample) const;
    };

    struct Track {
        std::size_t signal = 0;
        ValueType type = ValueType::float32;
        bool isEven = false;
        std::deque<Piece> pieces;
        // of the first piece
        std::size_t position = 0;
        const std::byte* values = nullptr;
        std::uint64_t rate = 0; // 0: its samples have times of their own
        std::uint64_t time = 0; // of the sample that is next
        std::uint64_t rest = 0; // of the division that gave it
        std::uint64_t step = 0;
        std::uint64_t stepRest = 0;

        bool isLate = false; // the others do not wait for it
        bool isToldLate = false;
        std::uint64_t next = 0;                  // when the sample that comes next is due
        std::uint64_t nextIndex = 0;             // its index
        std::uint64_t stepsBackAt = kEverything; // the batch's gap behind which times begin anew
    };

    bool findStepsBack(const Batch& batch);
    void queue(const Batch& batch, const Chunk& chunk, std::uint64_t now);
    void count(const Track& track, Piece& piece);
    void writeModule(std::size_t module);
    void noteGaps(const Batch& batch);
    void noteOldest(const Batch& batch);
    void noteClock(const Batch& batch);
    void catchUp(const Batch& batch);
    void keep();
    void keep(const Track& track, Piece& piece, std::size_t from);
    void forget();

    void writeReady(std::uint64_t now);
    bool makeOldLate(std::uint64_t now);
    std::uint64_t readyUntil() const;
    std::uint64_t heldFrom(std::uint64_t now) const;
    Track* slowest();
    std::size_t waiting() const;
    void writeUntil(std::uint64_t time);
    void begin(std::uint64_t time);
    void writeNotesUntil(std::uint64_t time);
    void writeRow(std::uint64_t time);
    void startPiece(std::size_t track);
    void advance(std::size_t track);

    const Setup& m_setup;
    const std::vector<std::size_t> m_signals;
    const std::size_t m_memory;
    const bool m_isFromFile;
    WholeOutput m_output;
    TextBuffer& m_text;

    std::vector<Track> m_tracks;
    std::vector<std::uint64_t> m_due;       // time of each track's next sample; kEverything: none
    std::vector<std::uint64_t> m_tolerance; // how much later than the row it may be
    std::vector<std::size_t> m_trackOf;     // by position in Setup::signals
    std::set<std::size_t> m_modules;
    bool m_holds = false;             // rows wait for signals of which nobody knows when they come
    std::uint64_t m_oldestToCome = 0; // from a file
    std::size_t m_waiting = 0;        // bytes
    std::multimap<std::uint64_t, std::string> m_notes; // by when they belong
    ClockNotes m_clocks;
    std::size_t m_writeAt = 0; // size of the text from which it is written

    bool m_hasHeading = false;
    std::uint64_t m_start = 0;  // time of the first row
    std::uint64_t m_latest = 0; // of the last one

    std::uint64_t m_samples = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_rows = 0;
    std::uint64_t m_late = 0;
};

} // namespace zel::acquisition
