#include "model_path.h"

#include <algorithm>

namespace zel::simulator {

namespace {

constexpr std::size_t kLongestPath = 1024;

/// Takes the path apart from the left; each function drops what it has read.
class PathReader {
public:
    explicit PathReader(std::string_view text) : m_rest(text) {}

    std::optional<ModelPath> read()
    {
        ModelPath path;
        bool isAnywhereBelow = readSlashes();
        while (m_good && !m_rest.empty()) {
            ModelStep step = readStep();
            step.isAnywhereBelow = isAnywhereBelow;
            path.push_back(std::move(step));
            if (m_rest.empty())
                break;
            m_good = m_good && m_rest.starts_with('/');
            isAnywhereBelow = readSlashes();
            m_good = m_good && !m_rest.empty();
        }
        return m_good ? std::optional{std::move(path)} : std::nullopt;
    }

private:
    bool readSlashes()
    {
        const bool two = m_rest.starts_with("//");
        m_rest.remove_prefix(two ? 2 : m_rest.starts_with('/') ? 1 : 0);
        return two;
    }

    ModelStep readStep()
    {
        ModelStep step;
        step.name = readUpTo("/[");
        if (step.name.empty() || step.name.find_first_of("]@=\"'()") != step.name.npos)
            m_good = false;
        while (m_good && m_rest.starts_with('['))
            step.conditions.push_back(readCondition());
        return step;
    }

    std::pair<std::string, std::string> readCondition()
    {
        expect("[@");
        std::string attribute = readUpTo("=]/");
        expect("=");
        const char quote = m_rest.starts_with('\'') ? '\'' : '"';
        expect({&quote, 1});
        std::string value = readUpTo({&quote, 1});
        expect({&quote, 1});
        expect("]");
        return {std::move(attribute), std::move(value)};
    }

    std::string readUpTo(std::string_view ends)
    {
        const std::string_view taken = m_rest.substr(0, m_rest.find_first_of(ends));
        m_rest.remove_prefix(taken.size());
        return std::string{taken};
    }

    void expect(std::string_view text)
    {
        m_good = m_good && m_rest.starts_with(text);
        if (m_good)
            m_rest.remove_prefix(text.size());
    }

    std::string_view m_rest;
    bool m_good = true;
};

bool meets(pugi::xml_node node, const ModelStep& step)
{
    return std::ranges::all_of(step.conditions, [node](const auto& condition) {
        const auto attribute = node.attribute(condition.first.c_str());
        return attribute && condition.second == attribute.value();
    });
}

/// The short form `Connector2` means the element `Connector` with the address 2.
bool meetsNumbered(pugi::xml_node node, std::string_view name)
{
    const auto address = node.attribute("address");
    const std::string_view plainName = node.name();
    return address && name.starts_with(plainName) &&
           name.substr(plainName.size()) == address.value();
}

void collectChildren(pugi::xml_node parent, const ModelStep& step,
                     std::vector<pugi::xml_node>& found)
{
    for (const pugi::xml_node child : parent.children()) {
        if (child.type() != pugi::node_element)
            continue;
        const bool named = step.name == "*" || step.name == child.name();
        if ((named || meetsNumbered(child, step.name)) && meets(child, step))
            found.push_back(child);
        if (step.isAnywhereBelow)
            collectChildren(child, step, found);
    }
}

} // namespace

std::optional<ModelPath> parseModelPath(std::string_view text)
{
    if (text.size() > kLongestPath)
        return std::nullopt;
    return PathReader{text}.read();
}

std::vector<pugi::xml_node> selectNodes(pugi::xml_node root, const ModelPath& path)
{
    std::vector<pugi::xml_node> nodes{root};
    for (const ModelStep& step : path) {
        std::vector<pugi::xml_node> found;
        for (const pugi::xml_node node : nodes)
            collectChildren(node, step, found);
        // Two steps of "//" find the same node by several ways.
        if (step.isAnywhereBelow) {
            std::sort(found.begin(), found.end());
            found.erase(std::unique(found.begin(), found.end()), found.end());
        }
        nodes = std::move(found);
    }
    return nodes;
}

} // namespace zel::simulator
