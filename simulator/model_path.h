#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pugixml.hpp>

namespace zel::simulator {

/// One step of a parameter path, such as `Connector[@address="1"]`.
struct ModelStep {
    bool isAnywhereBelow = false; ///< the step follows "//"
    std::string name;             ///< "*" for any
    std::vector<std::pair<std::string, std::string>> conditions;
};

using ModelPath = std::vector<ModelStep>;

/// Reads a path; nothing when it is no path. The empty text is the path without a step, which
/// stands for the whole document.
std::optional<ModelPath> parseModelPath(std::string_view text);

/// The nodes below `root` that the path selects, each once.
std::vector<pugi::xml_node> selectNodes(pugi::xml_node root, const ModelPath& path);

} // namespace zel::simulator
