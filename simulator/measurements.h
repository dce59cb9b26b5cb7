#pragma once

#include "subscription.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace zel::simulator {

/// How a single value is wanted.
enum class ScaleType : std::uint32_t { raw = 0, electrical = 1, physical = 2 };

/// The measuring side of a module: its clock, the current values and the hosts' subscriptions.
/// Simulator's thread only.
class Measurements {
public:
    /// One subscription for each connection.
    using Connection = std::uint64_t;

    explicit Measurements(const ModuleModel& model);

    std::uint64_t now() const;
    void restarted();

    /// kNoValue where there is none; nothing when the signal has no values of that scale.
    std::optional<double> currentValue(const SignalDescription& signal, ScaleType scale) const;

    /// Takes the place of what the connection had subscribed before.
    void subscribe(Connection connection, std::uint64_t start, std::vector<SignalStream> streams);
    /// Also for a connection that has ended.
    void unsubscribe(Connection connection);
    /// Nothing when the connection has subscribed nothing.
    std::optional<Subscription::Block> fetch(Connection connection, std::size_t mostBytes);
    /// Since the last subscription a host was too slow, and this signal lost samples.
    std::optional<SignalPlace> overrunSignal() const;

private:
    std::uint64_t keptFrom(std::uint64_t now) const;

    const ModuleModel& m_model; // whose part this is
    const std::uint64_t m_begin;
    std::map<Connection, Subscription> m_subscriptions;
    std::optional<SignalPlace> m_overrun; // of subscriptions that are over
};

} // namespace zel::simulator
