#pragma once

#include "module_session.h"

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

/// One signal of a module, as its list tells.
struct MeasuredSignal {
    std::string reference;
    std::string name;
    std::string unit;
    std::string path;
    double sampleRate = 0; ///< in hertz; 0 for time-stamped values
    std::uint32_t dataType = 0;
    std::uint32_t recordKind = 0;
    bool isEnabled = false;
};

std::vector<MeasuredSignal> listSignals(const ModuleConnection& module);

/// The signals that the texts name, each by its reference or by its name. Throws CommandFailure for
/// one that is not there, or a name that several have.
std::vector<MeasuredSignal> chooseSignals(const std::vector<MeasuredSignal>& all,
                                          const std::vector<std::string>& texts,
                                          const ModuleConnection& module);

/// "Float32", or the number where this program does not know the type.
std::string dataTypeName(std::uint32_t dataType);

/// "1200", "0.5": as short as it can be said.
std::string shortNumber(double value);

/// A value for people and for programs; "no value" is "-" and null.
bool isNoValue(double value);
std::string valueText(double value);
nlohmann::json valueJson(double value);

} // namespace zel::cli
