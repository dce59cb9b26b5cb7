#include "parameter_view.h"

#include "xml_text.h"

#include <algorithm>

namespace zel::simulator {

bool ParameterView::shows(std::span<const std::string_view> names) const
{
    return sections.empty() || std::ranges::any_of(sections, [names](const auto& section) {
               const std::size_t common = std::min(names.size(), section.size());
               return std::equal(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(common),
                                 section.begin());
           });
}

const std::vector<ParameterView>& parameterViews()
{
    static const std::vector<ParameterView> views{
        {1, "Module", {}},
        {2, "Measurement", {{"Amplifier"}, {"AdditionalConnector"}}},
        {3, "Communication", {{"Communication"}}},
        {4, "Functions", {{"AdditionalFunction"}}},
        {5, "Amplifier", {{"Amplifier", "Connector"}}},
        {6, "System", {{"System"}}},
    };
    return views;
}

const ParameterView* findView(std::uint32_t id)
{
    const auto found = std::ranges::find(parameterViews(), id, &ParameterView::id);
    return found == parameterViews().end() ? nullptr : &*found;
}

std::string composeViewList()
{
    std::string list = std::string{kXmlDeclaration} + "<ParViews>";
    for (const ParameterView& view : parameterViews())
        list += "<View id=\"" + std::to_string(view.id) + "\" name=\"" + std::string{view.name} +
                "\"/>";
    return list + "</ParViews>";
}

} // namespace zel::simulator
