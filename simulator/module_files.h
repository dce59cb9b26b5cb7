#pragma once

#include "method_call.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace zel::simulator {

/// The module's files, in memory. A host first names a file, then writes or reads it; each host's
/// choice is its own.
class ModuleFiles {
public:
    Outcome choose(std::uint64_t host, std::string_view path);
    Outcome write(std::uint64_t host, std::string bytes);
    Outcome read(std::uint64_t host) const;

private:
    std::map<std::string, std::string> m_files{{"log/messages", "module started\n"}};
    std::map<std::uint64_t, std::string> m_chosen;
};

} // namespace zel::simulator
