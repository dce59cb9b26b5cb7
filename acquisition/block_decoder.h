#pragma once

#include "batch.h"
#include "signal_tracker.h"
#include "ZEL_VR_Framework.hpp"

#include <vector>

namespace zel::acquisition {

/// Turns the blocks of one module into batches, and finds what is missing between them. One thread
/// at a time.
class BlockDecoder {
public:
    /// The module's signals as positions in Setup::signals, in the order of the numbers 1, 2, ...
    /// under which their records come. The setup must outlive this.
    BlockDecoder(const Setup& setup, std::size_t module, std::vector<std::size_t> signals);

    struct Arrival {
        std::uint64_t time = 0; ///< by the host's clock, nanoseconds since 1970
        /// Nanoseconds that can be missing before what comes now, by the host's clock.
        std::uint64_t mostMissing = 0;
    };
    /// What the block holds; of a block that is cut, what is whole of it.
    Batch decode(const Block& block, const Arrival& arrival);

    /// Whatever is missing before the next records is missing for this reason.
    void interrupt(Cause cause);
    /// The module began anew, after so many nanoseconds by the host's clock.
    void restart(std::uint64_t away);

    /// When the sample that comes next is due, the latest of all signals that are sampled evenly;
    /// 0 before the first one.
    std::uint64_t nextTime() const;
    /// A time from this one on at which all evenly sampled signals have a sample, if they go on in
    /// their steps; 0 where they have no such time soon.
    std::uint64_t commonTime(std::uint64_t from) const;
    /// Blocks that were no blocks, or ended before their end.
    std::uint64_t cutBlocks() const { return m_cutBlocks; }
    bool hasBegun() const;

private:
    struct Track {
        SignalTracker tracker;
        std::size_t signal = 0;
        std::uint64_t rate = 0; // millihertz
        // of the block that is being decoded
        std::size_t count = 0;
        std::size_t values = 0;
        std::size_t times = 0;
        std::size_t chunk = 0; // position in Batch::chunks
        bool hasChunk = false;
    };

    void findRecords(const Block& block);
    std::size_t place();
    void take(const Record& record, Track& track, const Arrival& arrival, Batch& batch);
    void convert(const Record& record, Track& track, Batch& batch) const;
    bool isAsAgreed(const Record& record, const SignalInfo& signal) const;

    const Setup& m_setup;
    const std::size_t m_module;
    std::vector<Track> m_tracks; // in the order of their numbers
    std::uint64_t m_origin = 0; // time of the first sample of any evenly sampled signal
    std::vector<Record> m_records;
    std::vector<std::uint64_t> m_times;
    std::uint64_t m_cutBlocks = 0;
};

} // namespace zel::acquisition
