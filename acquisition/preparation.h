#pragma once

#include "setup.h"
#include "ZEL_VR_Framework.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel::acquisition {

/// What cannot be recorded as it was asked for: what() tells a person why, advice() what to do.
class RequestError : public std::runtime_error {
public:
    RequestError(const std::string& problem, std::string advice)
        : std::runtime_error(problem), m_advice(std::move(advice))
    {
    }
    const std::string& advice() const { return m_advice; }

private:
    std::string m_advice;
};

/// Signals of a module that are wanted.
struct SignalRequest {
    /// Reference or name; with * and ? all that match, which are switched on; "all".
    std::string pattern;
    std::string column; ///< own name, for one signal; empty: its reference
    std::optional<double> rate; ///< in hertz: set before recording
};

struct ModuleRequest {
    ModuleTarget target;
    std::string label; ///< empty: the module's name, else its address
    std::vector<SignalRequest> signals;
    std::optional<double> rate; ///< of all its signals that are sampled evenly
};

/// Modules that are connected, and what will be recorded of them.
struct Preparation {
    Setup setup;
    std::vector<Module> modules;       ///< in the order of Setup::modules
    std::vector<ModuleTarget> targets; ///< what they were called
};

/// Connects to all modules, looks which signals are meant, sets rates and reads what describes the
/// setup. Nothing is subscribed. Blocks as the slowest module does. Throws RequestError, Error.
Preparation prepare(const std::vector<ModuleRequest>& requests);

/// Whether a text is what a pattern with * (any characters) and ? (one) stands for.
bool matches(const std::string& pattern, const std::string& text);

} // namespace zel::acquisition
