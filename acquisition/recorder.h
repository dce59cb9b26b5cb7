#pragma once

#include "recording_part.h"
#include "source_pool.h"
#include "trigger.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zel::acquisition {

/// What begins and ends a recording, and how it is cut up. Times are nanoseconds.
struct RecordingPlan {
    std::optional<std::uint64_t> startAt; ///< by the host's clock, since 1970
    std::uint64_t duration = 0;           ///< 0: until it is stopped; of each triggered recording
    std::uint64_t splitTime = 0;          ///< a new file each; 0: never
    std::uint64_t splitBytes = 0;

    std::optional<TriggerCondition> trigger;
    std::size_t triggerSignal = 0; ///< position in Setup::signals
    /// Recordings begin when trigger() is called.
    bool isTriggeredByCall = false;
    std::uint64_t preTrigger = 0;
    std::uint64_t repeats = 1; ///< recordings that triggers start; 0 without end

    /// Bytes that may wait, for the sinks and for the time before a trigger.
    std::size_t memory = std::size_t{256} << 20U;
};

/// Records what sources deliver, in one part after the other. Sources and sinks have threads of
/// their own; the functions here are for one thread, which calls poll() several times a second.
class Recorder {
public:
    /// Sinks for a part, from 1 on, that begins at this time: nanoseconds since 1970 by the host's
    /// clock, about. Throws SinkFailure.
    using MakeSinks =
        std::function<std::vector<std::unique_ptr<iSink>>(std::size_t number, std::uint64_t begin)>;
    /// For people: which module, or none for what concerns all, and what.
    using Notice = std::function<void(const std::string& module, const std::string& what)>;

    Recorder(const Setup& setup, const RecordingPlan& plan, MakeSinks makeSinks, Notice notice);
    /// Breaks off what has not been finished.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// In the order of Setup::modules, before begin().
    void add(Module connected, ModuleTarget name, const Source::Options& options);

    /// Subscribes everywhere, then makes the first sinks: what cannot begin leaves no file. Throws
    /// Error, SinkFailure.
    void begin();
    /// Does what time asks for. False once all that was planned has been recorded. Throws
    /// SinkFailure when the last sink has failed.
    bool poll();
    /// Records what the modules have measured until now, and closes all. Gives what went wrong, for
    /// people; empty where all is well. `cause` stands in the files: empty for an end as it should
    /// be.
    std::string finish(const std::string& cause = {});

    /// Something outside has happened just now. Any thread.
    void trigger();

    struct Status {
        std::uint64_t samples = 0;
        std::uint64_t missing = 0; ///< samples in gaps: of the modules and of the slowest sink
        std::uint64_t gaps = 0;
        std::uint64_t bytes = 0;     ///< written by all sinks
        std::uint64_t recorded = 0;  ///< nanoseconds from the first sample to the last
        std::uint64_t lag = 0;       ///< nanoseconds of the module that is furthest behind
        std::size_t waiting = 0;     ///< bytes in the queues
        std::size_t modulesDown = 0;
        std::size_t parts = 0; ///< begun
        bool isDiskFull = false;
        bool isReaderGone = false; ///< nobody reads any more what goes to a pipe
        bool isWaitingForTrigger = false;
    };
    Status status() const;
    std::vector<Source::State> sources() const;

private:
    using Clock = std::chrono::steady_clock;
    using Windows = std::vector<RecordingPart::Window>;

    struct Part {
        std::unique_ptr<RecordingPart> recording;
        Clock::time_point due = Clock::time_point::max(); ///< when all should have come
        Clock::time_point progress;                       ///< when something came
    };

    void take(SharedBatch batch);
    SharedBatch onHostTime(const SharedBatch& batch);
    void noteFirstLocked(const Batch& batch);
    void keepLocked(const SharedBatch& batch);
    std::int64_t offsetOf(std::size_t module) const;
    std::uint64_t moduleTime(std::size_t module, std::uint64_t hostTime) const;

    void openPart(Windows windows, std::uint64_t begin, Clock::time_point due);
    void openTriggered();
    bool isTriggered() const { return m_plan.trigger || m_plan.isTriggeredByCall; }
    void split();
    void closePassed();
    bool isPassed(const Part& part, Clock::time_point now) const;
    void close(std::unique_ptr<RecordingPart> part, const std::string& cause);
    void finishSources();
    void endAtNow(RecordingPart& part);
    void lookAtSinks();
    void compareClocks();
    static void add(const RecordingPart& part, Status& status);

    const Setup m_setup;
    const RecordingPlan m_plan;
    const MakeSinks m_makeSinks;
    const Notice m_notice;

    // the one thread
    std::vector<std::unique_ptr<Source>> m_sources;
    std::unique_ptr<SourcePool> m_pool;
    std::string m_problems;
    std::uint64_t m_splitAt = 0; // host's time of the next split; 0 for none
    bool m_isFinished = false;
    bool m_hasToldClocks = false;
    Clock::time_point m_comparedAt;

    mutable std::mutex m_mutex;
    // under m_mutex
    std::vector<Part> m_parts; // open
    Status m_done;             // totals of the closed ones
    std::vector<std::uint64_t> m_firstTimes;           // of each module's samples; 0 before
    std::vector<std::optional<std::int64_t>> m_shifts; // to the host's time, where it is wanted
    std::optional<Trigger> m_trigger;
    struct Event {
        std::uint64_t time = 0;
        std::optional<std::size_t> module; ///< by whose clock; else the host's
    };
    std::optional<Event> m_triggered; // recording has not begun yet
    std::uint64_t m_quietUntil = 0;   // no other trigger before, by the same clock
    std::deque<SharedBatch> m_kept;             // for the time before a trigger
    std::size_t m_keptBytes = 0;
};

} // namespace zel::acquisition
