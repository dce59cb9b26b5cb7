#include "measurements.h"

#include "module_clock.h"
#include "module_model.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zel::simulator {

namespace {

/// A free-running module is never out of samples; far enough below 2^64 that sums do not overflow.
constexpr std::uint64_t kEndOfTime = std::uint64_t{1} << 63;

std::uint64_t inNanoseconds(milliseconds time)
{
    return static_cast<std::uint64_t>(std::max<milliseconds::rep>(time.count(), 0)) * 1'000'000;
}

double inCounts(const SignalDescription& signal, double value)
{
    return std::clamp(std::round((*signal.raw)(value)), -signal.mostRaw - 1, signal.mostRaw);
}

} // namespace

Measurements::Measurements(const ModuleModel& model) : m_model(model), m_begin(now()) {}

std::uint64_t Measurements::now() const
{
    return m_model.settings.clock ? m_model.settings.clock() : steadyUtc();
}

void Measurements::restarted()
{
    m_subscriptions.clear();
    m_overrun.reset();
}

std::optional<double> Measurements::currentValue(const SignalDescription& signal,
                                                 ScaleType scale) const
{
    if ((scale == ScaleType::raw && !signal.raw) ||
        (scale == ScaleType::electrical && !signal.electrical))
        return std::nullopt;
    const auto fixed = fixedSensorValue(m_model, signal.place);
    const std::uint64_t time = now();
    const std::uint64_t taken = signal.times.countUntil(time > m_begin ? time - m_begin : 0);
    if (!signal.isEnabled || fixed == kNoValue || taken == 0)
        return kNoValue;
    const double value = fixed ? *fixed : signal.sensor.at(taken - 1);
    const double scaled = scale == ScaleType::raw          ? inCounts(signal, value)
                          : scale == ScaleType::electrical ? (*signal.electrical)(value)
                                                           : signal.physical(value);
    return std::clamp(scaled, -kNoValue, kNoValue);
}

void Measurements::subscribe(Connection connection, std::uint64_t start,
                             std::vector<SignalStream> streams)
{
    unsubscribe(connection);
    m_overrun.reset();
    m_subscriptions.try_emplace(connection, std::max(start, now()), std::move(streams),
                                m_model.parameters.version());
}

void Measurements::unsubscribe(Connection connection)
{
    const auto found = m_subscriptions.find(connection);
    if (found == m_subscriptions.end())
        return;
    if (!m_overrun)
        m_overrun = found->second.overrunSignal(keptFrom(now()));
    m_subscriptions.erase(found);
}

std::optional<Subscription::Block> Measurements::fetch(Connection connection, std::size_t mostBytes)
{
    const auto found = m_subscriptions.find(connection);
    if (found == m_subscriptions.end())
        return std::nullopt;
    const std::uint64_t time = now();
    const std::uint64_t until = m_model.settings.freeRunning ? kEndOfTime : time;
    return found->second.fetch(m_model, {keptFrom(time), until}, mostBytes);
}

std::optional<SignalPlace> Measurements::overrunSignal() const
{
    if (m_overrun)
        return m_overrun;
    for (const auto& [connection, subscription] : m_subscriptions)
        if (const auto place = subscription.overrunSignal(keptFrom(now())))
            return place;
    return std::nullopt;
}

std::uint64_t Measurements::keptFrom(std::uint64_t now) const
{
    const std::uint64_t kept = inNanoseconds(m_model.settings.bufferTime);
    return m_model.settings.freeRunning || kept > now ? 0 : now - kept;
}

} // namespace zel::simulator
