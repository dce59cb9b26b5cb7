#pragma once

#include "batch.h"
#include "sink_queue.h"

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace zel::acquisition {

/// One recording from its begin to its end, in all of its sinks: the only one, or one of those that
/// a long run is split into, or what a trigger has started. One thread at a time.
class RecordingPart {
public:
    static constexpr std::uint64_t kOpen = std::numeric_limits<std::uint64_t>::max();

    /// What belongs to it of a module: samples from `from` on and before `to`, by the times that
    /// they carry.
    struct Window {
        std::uint64_t from = 0;
        std::uint64_t to = kOpen;
    };

    /// `memory`: bytes that may wait for each sink. The setup must outlive this.
    RecordingPart(const Setup& setup, std::vector<Window> windows,
                  std::vector<std::unique_ptr<iSink>> sinks, std::size_t memory);

    /// Gives the sinks what belongs to the recording.
    void take(const SharedBatch& batch);

    /// Where it begins for a module, before anything was taken of it.
    void beginAt(std::size_t module, std::uint64_t from) { m_windows[module].from = from; }
    /// Where it ends for a module; nothing that was taken already is taken back.
    void limit(std::size_t module, std::uint64_t to);
    /// When the sample is due that comes next of the module, the latest of its evenly sampled
    /// signals; 0 before the first one.
    std::uint64_t nextTime(std::size_t module) const;
    const Window& window(std::size_t module) const { return m_windows[module]; }

    /// Whether all evenly sampled signals of the module have come until its window's end.
    bool isComplete(std::size_t module) const;
    /// What has not come until the end of the module's window is missing there.
    void noteMissingEnd(std::size_t module, Cause cause);

    /// Ends the sinks. Gives what went wrong, for people; empty where all is well.
    std::string finish(const std::string& cause);

    struct Totals {
        std::uint64_t samples = 0; ///< that belong to the recording and have come
        std::uint64_t missing = 0; ///< in gaps of the modules
        std::uint64_t gaps = 0;
        std::uint64_t first = 0; ///< time of the first sample, of any module; 0 before it
        std::uint64_t last = 0;
    };
    const Totals& totals() const { return m_totals; }
    const std::vector<std::unique_ptr<SinkQueue>>& sinks() const { return m_sinks; }

private:
    struct Progress {
        bool hasBegun = false;
        std::uint64_t nextIndex = 0;
        std::uint64_t nextTime = 0;
        std::uint64_t rate = 0;
    };

    void push(const SharedBatch& batch);
    SharedBatch cut(const Batch& batch, const Window& window) const;
    static bool isWithin(const Batch& batch, const Window& window);

    const Setup& m_setup;
    std::vector<Window> m_windows;
    std::vector<Progress> m_progress; // of each signal
    std::vector<std::unique_ptr<SinkQueue>> m_sinks;
    Totals m_totals;
};

} // namespace zel::acquisition
