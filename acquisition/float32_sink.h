#pragma once

#include "receipt_time.h"
#include "sink.h"
#include "whole_output.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace zel::acquisition {

/// A recording as plain numbers, for a program that reads them from a pipe as they come: float32 in
/// little-endian byte order, one row behind the other, a value for each signal in each row, in the
/// order of Setup::signals. Nothing else: no heading, no times, no end.
///
/// All signals are sampled evenly at one rate. Row n holds what was taken n periods behind the
/// first sample of all, by the samples' indices: drift between modules does not move them. NaN
/// stands for samples in gaps, before a signal's first sample and behind its last one, and for no
/// value. Values of other types are rounded to float32.
///
/// A signal that is behind the others holds them up for a fraction of a second; what comes of it
/// later, when its rows are gone, is left out and counted.
class Float32Sink : public iSink {
public:
    struct Options {
        OutputTarget target;
        std::size_t memory = std::size_t{64} << 20U; ///< bytes of values that may wait for others
        bool isFromFile = false; ///< rows wait for signals as long as there is memory
        /// Samples that were left out; may be null.
        std::shared_ptr<std::atomic<std::uint64_t>> leftOut = nullptr;
    };

    /// Throws SinkFailure; also for signals that do not have one rate in common, and for several
    /// modules that do not have one clock. The setup must outlive this.
    Float32Sink(const Setup& setup, const Options& options);

    bool write(const Batch& batch) override;
    bool flush() override;
    void finish(const std::string& cause) override;
    std::uint64_t bytesWritten() const override { return m_output.file().written(); }
    std::string name() const override { return m_output.file().name(); }

private:
    struct Piece {
        std::int64_t row = 0; // of the first value that is left
        std::uint64_t arrival = 0;
        std::vector<float> values;
        std::size_t used = 0; // of them, from the first on

        std::int64_t end() const { return row + static_cast<std::int64_t>(values.size() - used); }
    };
    struct Track {
        std::deque<Piece> pieces;
        bool hasBegun = false;
        bool isLate = false;    // the others do not wait for it
        std::int64_t shift = 0; // row less index
        std::int64_t next = 0;  // row of the sample that comes next
    };

    void take(const Batch& batch, const Chunk& chunk);
    void take(const Gap& gap);
    void place(std::size_t signal, std::uint64_t index, std::uint64_t time);
    void catchUp(Track& track);
    std::int64_t readyUntil() const;
    void makeOldLate();
    void release();
    void makeReady(std::int64_t until);
    std::size_t waiting() const;
    bool writeRows();
    void addRows(std::int64_t count);

    const Setup& m_setup;
    const std::size_t m_memory;
    const bool m_isFromFile;
    const std::shared_ptr<std::atomic<std::uint64_t>> m_leftOut;
    const std::uint64_t m_rate;
    WholeOutput m_output;
    std::vector<Track> m_tracks; // in the order of Setup::signals
    ReceiptTime m_time;

    bool m_hasOrigin = false;
    std::uint64_t m_origin = 0; // time of row 0; some may be before
    std::int64_t m_first = std::numeric_limits<std::int64_t>::max(); // row
    bool m_hasRows = false;
    std::int64_t m_row = 0;                                          // that is written next
    std::int64_t m_ready = std::numeric_limits<std::int64_t>::min(); // behind the complete ones
};

} // namespace zel::acquisition
