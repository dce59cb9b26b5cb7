#include "triggers.h"

#include "measured_values.h"
#include "number_format.h"
#include "status.h"

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

/// One "key=value"; false for what is unknown, twice there or no number.
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
    // Not a number would compare to nothing.
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

/// ZEL_OK when the condition holds, ZEL_UTIL_WAIT_TIMEOUT when it does not, or what failed.
std::int32_t lookAtStatus(const Trigger& trigger, const RequestPath& requests,
                          ZEL_TriggerEvent& event)
{
    const auto list = std::make_unique<ZEL_StatusListEx>();
    const std::int32_t result =
        status::readStatuses(requests, trigger.uuid, list->count, list->entries);
    if (result != ZEL_OK)
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
        readValue(requests, trigger.uuid, trigger.reference.c_str(), kPhysical, value);
    if (result != ZEL_OK)
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

void Triggers::activate(const Trigger& trigger)
{
    const std::lock_guard lock{m_mutex};
    m_active.insert(trigger);
}

std::int32_t Triggers::clear(const Trigger& trigger)
{
    {
        const std::lock_guard lock{m_mutex};
        if (m_active.erase(trigger) == 0)
            return ZEL_DAQ_TRIGGER_UNKNOWN;
    }
    m_cleared.notify_all();
    return ZEL_OK;
}

std::int32_t Triggers::wait(std::uint32_t milliseconds, const Trigger& trigger,
                            const RequestPath& requests, ZEL_TriggerEvent& event)
{
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds{milliseconds};
    for (Clock::time_point next = Clock::now();; next += kPeriod) {
        {
            std::unique_lock lock{m_mutex};
            if (m_cleared.wait_until(lock, std::min(next, deadline),
                                     [&] { return !m_active.contains(trigger); }))
                return ZEL_DAQ_TRIGGER_UNKNOWN;
        }
        // Without the lock: the module may take its time.
        const std::int32_t result = trigger.reference.empty()
                                        ? lookAtStatus(trigger, requests, event)
                                        : lookAtSignal(trigger, requests, event);
        if (result != ZEL_UTIL_WAIT_TIMEOUT || Clock::now() >= deadline)
            return result;
        next = std::max(next, Clock::now() - kPeriod);
    }
}

} // namespace zel::daq
