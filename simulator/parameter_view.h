#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel::simulator {

/// A part of the parameter document that a host works with: what lies at or below its sections.
struct ParameterView {
    std::uint32_t id;
    std::string_view name;
    std::vector<std::vector<std::string_view>> sections; ///< none: the whole document

    /// Whether the element with these names, from below the root on, belongs to the view.
    bool shows(std::span<const std::string_view> names) const;
};

const std::vector<ParameterView>& parameterViews();
const ParameterView* findView(std::uint32_t id);
std::string composeViewList();

} // namespace zel::simulator
