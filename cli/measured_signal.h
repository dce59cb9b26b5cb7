#pragma once

#include "module_session.h"

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zel::cli {

using MeasuredSignal = Signal;

std::vector<MeasuredSignal> listSignals(const ModuleConnection& module);

/// The signals that the texts name, each by its reference or by its name. Throws CommandFailure for
/// one that is not there, or a name that several have.
std::vector<MeasuredSignal> chooseSignals(const std::vector<MeasuredSignal>& all,
                                          const std::vector<std::string>& texts,
                                          const ModuleConnection& module);

/// "1200", "0.5": as short as it can be said.
std::string shortNumber(double value);

/// A value for people and for programs; "no value" is "-" and null.
bool isNone(double value);
std::string valueText(double value);
nlohmann::json valueJson(double value);

} // namespace zel::cli
