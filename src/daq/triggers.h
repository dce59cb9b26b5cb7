#pragma once

#include "method_request.h"
#include "mutex.h"
#include "ZEL_VR_Framework.h"

#include <chrono>
#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zel::daq {

/// A condition on a module: on one of its status values, or on the current value of a signal.
struct Trigger {
    std::uint64_t uuid = 0;

    // a status; a place that is left out stands for any
    std::optional<std::uint32_t> connector;
    std::optional<std::uint32_t> channel;
    std::optional<std::uint32_t> signal;
    std::optional<std::uint32_t> status;
    std::optional<std::uint64_t> value; // any but 0 where it is left out

    // a signal
    std::string reference;
    std::optional<double> above;
    std::optional<double> below;

    auto operator<=>(const Trigger&) const = default;
};

/// Reads the text form of a trigger, see ZEL_XDAQ_ActivateTrigger.
std::optional<Trigger> parseTrigger(std::string_view text);

/// The triggers that are active. Any thread.
class Triggers {
public:
    Triggers() = default;
    /// Ends the waits (ZEL_SYS_NOT_STARTED) and returns when all have ended: one that is asking the
    /// module gets its answer first.
    ~Triggers();
    Triggers(const Triggers&) = delete;
    Triggers& operator=(const Triggers&) = delete;

    void activate(const Trigger& trigger);
    /// Ends the waits for it, also when it is activated anew at once. ZEL_DAQ_TRIGGER_UNKNOWN.
    std::int32_t clear(const Trigger& trigger);
    /// Looks at the module at once and then every 100 ms, until the condition holds, the time is
    /// over (ZEL_UTIL_WAIT_TIMEOUT), a request fails or the trigger is cleared
    /// (ZEL_DAQ_TRIGGER_UNKNOWN).
    std::int32_t wait(std::uint32_t milliseconds, const Trigger& trigger,
                      const RequestPath& requests, ZEL_TriggerEvent& event);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    /// A trigger, and which of its activations is meant.
    struct Activation {
        const Trigger& trigger;
        std::uint64_t number;
    };
    class Waiting;

    std::int32_t watch(Deadline deadline, const Activation& activation, const RequestPath& requests,
                       ZEL_TriggerEvent& event);
    /// Sleeps until then: ZEL_OK, or why the wait is over before.
    std::int32_t sleepUntil(Deadline time, const Activation& activation);

    Mutex m_mutex;
    ConditionVariable m_changed;

    // under m_mutex
    std::map<Trigger, std::uint64_t> m_active; // with the numbers of their activations
    std::uint64_t m_lastNumber = 0;
    unsigned m_waiting = 0;
    bool m_isEnding = false;
};

} // namespace zel::daq
