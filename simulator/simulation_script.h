#pragma once

#include "simulator.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zel::simulator {

/// A fault as text: the kind, and after it what narrows it down, each after a colon, in any order:
/// a method "1/10" or "address", "x3" for the number of requests, "500ms" for the fault's time,
/// "for=2000ms" for how long it is on, "size=64" for the size of segments. Throws
/// std::invalid_argument with a text for a person.
Fault parseFault(std::string_view text);
MethodId parseMethod(std::string_view text);
std::uint64_t parseUuid(std::string_view text);
/// "broadcast", "multicast" or "both"; throws std::invalid_argument otherwise.
void setHearing(ModuleSettings& settings, std::string_view way);
/// The port of one of several modules: they count up, and 0 stays what it is. Throws
/// std::invalid_argument when the ports do not reach.
std::uint16_t portOf(std::uint16_t first, std::size_t number);

/// What one module of a script is and does.
struct ScriptedModule {
    struct Answer {
        MethodId method;
        MethodAnswer answer;
    };

    ModuleSettings settings;
    std::vector<Fault> faults;
    std::vector<Answer> answers;
    std::map<std::string, std::string> parameters;
};

/// Reads a script: an object with "modules", each with the settings that differ from `defaults`.
/// Throws std::runtime_error with a text for a person.
std::vector<ScriptedModule> readScript(const std::filesystem::path& file,
                                       const ModuleSettings& defaults);

/// Adds the module and gives it what the script says. Throws std::runtime_error or
/// std::system_error.
Module& addScripted(Simulator& simulator, const ScriptedModule& scripted);

} // namespace zel::simulator
