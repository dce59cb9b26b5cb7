/**
 * @file signal.hpp
 * What a module measures. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_SIGNAL_HPP
#define ZEL_SIGNAL_HPP

#include "block.hpp"
#include "connection.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zel {

/// One signal of a module, as its list tells. Texts are UTF-8; connector, channel and signal count
/// from 1, and are 0 where the reference does not carry them.
struct Signal {
    std::string reference{}; ///< "AnalogIn_Connector0.Signal0", which counts from 0
    std::string name{};      ///< as it is set in the module; need not be the only one
    std::string unit{};
    std::string path{};           ///< in the parameter document; "" where the reference tells none
    double sampleRate = 0;        ///< in hertz; 0 for values with times of their own
    std::uint32_t dataType = 0;   ///< ZEL_DAQ_INT32 to ZEL_DAQ_TIMED_UINT32; 0 for not told
    std::uint32_t recordKind = 0; ///< ZEL_DAQ_WITH_RATE or ZEL_DAQ_WITH_BEFORE
    bool isEnabled = false;
    std::uint32_t connectorType = 0; ///< ZEL_CONNECTOR_..., 0 for signals of no connector
    std::uint32_t connector = 0;
    std::uint32_t channel = 0;
    std::uint32_t signal = 0;

    /// The sample rate as Record and the functions of times take it.
    std::uint64_t millihertz() const noexcept { return toMillihertz(sampleRate); }
};

/// The current value of one signal.
struct MeasuredValue {
    std::string reference{};
    double value = 0; ///< in the signal's unit; see isNoValue()
};

/// The signals that a text names: the one with this reference, or else all with this name.
inline std::vector<Signal> findSignals(std::span<const Signal> signals, const std::string& text)
{
    std::vector<Signal> found;
    for (const Signal& signal : signals) {
        if (signal.reference == text)
            return {signal};
        if (signal.name == text)
            found.push_back(signal);
    }
    return found;
}

/// The one signal that a text names, by reference or name. Throws Error with the code
/// ZEL_SIGNAL_UNKNOWN where none does, and where several have the name.
inline Signal chooseSignal(std::span<const Signal> signals, const std::string& text)
{
    const auto found = findSignals(signals, text);
    if (found.size() == 1)
        return found.front();
    throw Error({.code = ZEL_SIGNAL_UNKNOWN,
                 .tried = "choose the signal '" + text + "'",
                 .codeText = found.empty() ? "there is none of this reference or name"
                                           : "several have this name, " + found[0].reference +
                                                 " and " + found[1].reference + " among them"});
}

} // namespace zel

#endif
