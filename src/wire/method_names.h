#pragma once

#include <cstdint>
#include <string>

namespace zel {

/// How the log names a method: "Srv: PARAM Mthd: readPar"; numbers stand where there is no name.
std::string methodLogName(std::uint16_t service, std::uint16_t method);

} // namespace zel
