#pragma once

#include "batch.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zel::acquisition {

/// A condition on the values of one signal that begins a recording.
struct TriggerCondition {
    enum class Kind : std::uint8_t {
        above,   ///< as long as the value is above `low`
        below,   ///< as long as it is below `low`
        rising,  ///< it comes from `low` or below and goes above
        falling, ///< it comes from `low` or above and goes below
        inside,  ///< it comes between `low` and `high`
        outside  ///< it leaves what is between
    };
    Kind kind = Kind::rising;
    double low = 0;
    double high = 0;

    /// "> 5", "< -2.5", "rising 5", "falling 0", "inside 1 2", "outside -1 1". Throws
    /// std::invalid_argument, which says what is wrong.
    static TriggerCondition parse(const std::string& text);
    std::string text() const;
};

/// Looks for the condition in the samples of a signal, as they come.
class Trigger {
public:
    Trigger(const TriggerCondition& condition, const SignalInfo& signal, std::size_t index)
        : m_condition(condition), m_type(signal.type), m_signal(index)
    {
    }

    std::size_t signal() const { return m_signal; }

    /// The time of the first sample in the batch, not before `from`, at which it holds. All batches
    /// of the signal's module have to come, in their order. A gap is no edge.
    std::optional<std::uint64_t> find(const Batch& batch, std::uint64_t from);

private:
    bool holds(double value);

    TriggerCondition m_condition;
    const ValueType m_type;
    const std::size_t m_signal;
    std::optional<double> m_before; // the value of the last sample
};

} // namespace zel::acquisition
