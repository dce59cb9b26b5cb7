#include "triggers.h"

#include "measured_values.h"
#include "number_format.h"
#include "status.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>

namespace zel::daq {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPeriod{100};

template <class Number>
bool read(std::string_view text, std::optional<Number>& number)
{
    Number value{};
    if (number || text.empty() || parseNumber(text, value) != ZEL_OK)
        return false;
    number = value;
    return true;
}

/// One "key=value"; false for what is unknown, repeated or no number.
bool readPair(std::string_view key, std::string_view value, Trigger& trigger,
              std::optional<std::uint64_t>& uuid)
{
    if (key == "uuid")
        return read(value, uuid);
    if (key == "connector")
        return read(value, trigger.connector);
    if (key == "channel")
        return read(value, trigger.channel);
    if (key == "signal")
        return read(value, trigger.signal);
    if (key == "status")
        return read(value, trigger.status);
    if (key == "value")
        return read(value, trigger.value);
    if (key == "above")
        return read(value, trigger.above);
    if (key == "below")
        return read(value, trigger.below);
    if (key != "reference" || value.empty() || !trigger.reference.empty())
        return false;
    trigger.reference = value;
    return true;
}

bool isComplete(const Trigger& trigger)
{
    const bool hasBound = trigger.above || trigger.below;
    if (trigger.reference.empty())
        return trigger.status && !hasBound;
    const bool hasStatus =
        trigger.status || trigger.value || trigger.connector || trigger.channel || trigger.signal;
    // A NaN would never compare as true.
    const bool isBoundGood =
        !std::isnan(trigger.above.value_or(0)) && !std::isnan(trigger.below.value_or(0));
    return hasBound && isBoundGood && !hasStatus;
}

bool matches(const Trigger& trigger, const ZEL_StatusEntry& entry)
{
    const auto fits = [](const std::optional<std::uint32_t>& wanted, std::uint32_t found) {
        return !wanted || *wanted == found;
    };
    return entry.statusId == *trigger.status && fits(trigger.connector, entry.connector) &&
           fits(trigger.channel, entry.channel) && fits(trigger.signal, entry.signal) &&
           (trigger.value ? entry.value == *trigger.value : entry.value != 0);
}

// Looks return ZEL_OK when the condition holds, ZEL_UTIL_WAIT_TIMEOUT when it does not, or what
// failed. A module's warnings fail nothing.

std::int32_t lookAtStatus(const Trigger& trigger, const RequestPath& requests,
                          ZEL_TriggerEvent& event)
{
    const auto list = std::make_unique<ZEL_StatusListEx>();
    const std::int32_t result =
        status::readStatuses({requests, trigger.uuid}, list->count, list->entries);
    if (hasFailed(result))
        return result;
    for (std::uint32_t i = 0; i < list->count; ++i) {
        if (!matches(trigger, list->entries[i]))
            continue;
        event = {};
        event.value = static_cast<double>(list->entries[i].value);
        event.status = list->entries[i];
        return ZEL_OK;
    }
    return ZEL_UTIL_WAIT_TIMEOUT;
}

std::int32_t lookAtSignal(const Trigger& trigger, const RequestPath& requests,
                          ZEL_TriggerEvent& event)
{
    double value = 0;
    const std::int32_t result =
        readValue({requests, trigger.uuid}, trigger.reference.c_str(), kPhysical, value);
    if (hasFailed(result))
        return result;
    const bool hasValue = value != std::numeric_limits<double>::max();
    const bool holds = hasValue && (!trigger.above || value > *trigger.above) &&
                       (!trigger.below || value < *trigger.below);
    if (!holds)
        return ZEL_UTIL_WAIT_TIMEOUT;
    event = {};
    event.value = value;
    return ZEL_OK;
}

} // namespace

std::optional<Trigger> parseTrigger(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    Trigger trigger;
    std::optional<std::uint64_t> uuid;
    for (;;) {
        const std::size_t start = text.find_first_not_of(kBlanks);
        if (start == std::string_view::npos)
            break;
        text.remove_prefix(start);
        const std::string_view pair = text.substr(0, text.find_first_of(kBlanks));
        text.remove_prefix(pair.size());
        const std::size_t equals = pair.find('=');
        if (equals == std::string_view::npos ||
            !readPair(pair.substr(0, equals), pair.substr(equals + 1), trigger, uuid))
            return {};
    }
    if (!uuid || !isComplete(trigger))
        return {};
    trigger.uuid = *uuid;
    return trigger;
}

/// Counts a wait for as long as it lasts.
class Triggers::Waiting {
public:
    explicit Waiting(Triggers& triggers) : m_triggers(triggers) {} // counted by its maker
    ~Waiting()
    {
        const std::lock_guard lock{m_triggers.m_mutex};
        --m_triggers.m_waiting;
        // Under the lock: the triggers may be gone right after it.
        if (m_triggers.m_isEnding)
            m_triggers.m_changed.notify_all();
    }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    Triggers& m_triggers;
};

Triggers::~Triggers()
{
    std::unique_lock lock{m_mutex};
    m_isEnding = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_waiting == 0; });
}

void Triggers::activate(const Trigger& trigger)
{
    const std::lock_guard lock{m_mutex};
    if (m_active.try_emplace(trigger, m_lastNumber + 1).second)
        ++m_lastNumber;
}

std::int32_t Triggers::clear(const Trigger& trigger)
{
    {
        const std::lock_guard lock{m_mutex};
        if (m_active.erase(trigger) == 0)
            return ZEL_DAQ_TRIGGER_UNKNOWN;
    }
    m_changed.notify_all();
    return ZEL_OK;
}

std::int32_t Triggers::wait(std::uint32_t milliseconds, const Trigger& trigger,
                            const RequestPath& requests, ZEL_TriggerEvent& event)
{
    const Deadline deadline = Clock::now() + std::chrono::milliseconds{milliseconds};
    std::uint64_t number = 0;
    {
        const std::lock_guard lock{m_mutex};
        const auto found = m_active.find(trigger);
        if (found == m_active.end())
            return ZEL_DAQ_TRIGGER_UNKNOWN;
        number = found->second;
        ++m_waiting;
    }
    const Waiting waiting{*this};
    return watch(deadline, {trigger, number}, requests, event);
}

std::int32_t Triggers::watch(Deadline deadline, const Activation& activation,
                             const RequestPath& requests, ZEL_TriggerEvent& event)
{
    for (;;) {
        const Deadline next = Clock::now() + kPeriod;
        // Without the lock: the module may take its time.
        const std::int32_t seen = activation.trigger.reference.empty()
                                      ? lookAtStatus(activation.trigger, requests, event)
                                      : lookAtSignal(activation.trigger, requests, event);
        if (seen != ZEL_UTIL_WAIT_TIMEOUT)
            return seen;
        const std::int32_t over = sleepUntil(std::min(next, deadline), activation);
        if (over != ZEL_OK)
            return over;
        if (next > deadline)
            return ZEL_UTIL_WAIT_TIMEOUT;
    }
}

std::int32_t Triggers::sleepUntil(Deadline time, const Activation& activation)
{
    std::unique_lock lock{m_mutex};
    const auto isActive = [&] {
        const auto found = m_active.find(activation.trigger);
        return found != m_active.end() && found->second == activation.number;
    };
    m_changed.wait_until(lock, time, [&] { return m_isEnding || !isActive(); });
    if (m_isEnding)
        return ZEL_SYS_NOT_STARTED;
    return isActive() ? ZEL_OK : ZEL_DAQ_TRIGGER_UNKNOWN;
}

} // namespace zel::daq
