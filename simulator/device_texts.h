#pragma once

#include <cstdint>
#include <string>

namespace zel::simulator {

/// The text that the module itself has for one of its codes; hosts ask for those that they do not
/// know. An unknown code gets a text that says so.
std::string moduleText(std::int32_t code);

} // namespace zel::simulator
