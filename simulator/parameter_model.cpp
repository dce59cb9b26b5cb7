#include "parameter_model.h"

#include "module_codes.h"
#include "parameter_schema.h"
#include "xml_text.h"

#include <algorithm>
#include <utility>

namespace zel::simulator {

namespace {

using Kind = ParameterDefinition::Kind;

constexpr const char* kAddress = "address";
constexpr const char* kChoice = "choice";

pugi::xml_node findChild(pugi::xml_node parent, pugi::xml_node wanted)
{
    const std::string_view address = wanted.attribute(kAddress).value();
    for (const pugi::xml_node child : parent.children(wanted.name()))
        if (address == child.attribute(kAddress).value())
            return child;
    return {};
}

} // namespace

/// What a path selects in a view, or why it selects nothing.
struct ParameterModel::Selection {
    const ParameterView* view = nullptr;
    std::vector<pugi::xml_node> nodes;
    Outcome failure;

    pugi::xml_node first() const { return nodes.front(); }
};

ParameterModel::ParameterModel() : m_definition(amplifierDefinition())
{
    build(m_document, m_definition, 0);
    m_root = m_document.first_child();
}

void ParameterModel::build(pugi::xml_node parent, const ParameterDefinition& definition,
                           unsigned instance)
{
    for (unsigned number = 0; number < definition.count; ++number) {
        pugi::xml_node node = parent.append_child(definition.name.c_str());
        const unsigned inside = definition.isAddressed ? number : instance;
        if (definition.isAddressed)
            node.append_attribute(kAddress).set_value(definition.firstAddress + number);
        if (definition.kind == Kind::alternative)
            node.append_attribute(kChoice).set_value(definition.initial(inside).c_str());
        else if (!definition.hasChildren())
            node.text().set(definition.initial(inside).c_str());
        for (const ParameterDefinition& child : definition.children)
            build(node, child, inside);
    }
}

const ParameterDefinition* ParameterModel::definitionOf(pugi::xml_node node) const
{
    if (node == m_root)
        return &m_definition;
    return definitionOf(node.parent())->child(node.name());
}

unsigned ParameterModel::instanceOf(pugi::xml_node node) const
{
    for (; node != m_root; node = node.parent())
        if (const auto address = node.attribute(kAddress))
            return address.as_uint() - definitionOf(node)->firstAddress;
    return 0;
}

bool ParameterModel::isShown(const ParameterView& view, pugi::xml_node node) const
{
    std::vector<std::string_view> names;
    for (; node != m_root; node = node.parent())
        names.push_back(node.name());
    std::ranges::reverse(names);
    return view.shows(names);
}

std::string_view ParameterModel::textOf(pugi::xml_node node, const ParameterDefinition& definition)
{
    return definition.kind == Kind::alternative ? node.attribute(kChoice).value()
                                                : node.child_value();
}

ParameterModel::Selection ParameterModel::select(std::uint32_t view, std::string_view path) const
{
    Selection selection;
    selection.view = findView(view);
    if (selection.view == nullptr) {
        selection.failure = {kInvalidView, "there is no view " + std::to_string(view)};
        return selection;
    }
    auto steps = parseModelPath(path);
    if (!steps) {
        selection.failure = {kInvalidPath, "'" + std::string{path} + "' is not a path"};
        return selection;
    }
    if (!steps->empty() && steps->front().name == m_definition.name)
        steps->erase(steps->begin());
    selection.nodes = selectNodes(m_root, *steps);
    std::erase_if(selection.nodes,
                  [&](pugi::xml_node node) { return !isShown(*selection.view, node); });
    if (selection.nodes.empty())
        selection.failure = whyNothing(std::move(*steps));
    return selection;
}

Outcome ParameterModel::whyNothing(ModelPath path) const
{
    for (std::size_t depth = 1; depth <= path.size(); ++depth) {
        const ModelPath upper{path.begin(), path.begin() + static_cast<std::ptrdiff_t>(depth)};
        if (!selectNodes(m_root, upper).empty())
            continue;
        ModelPath bare = upper;
        ModelStep& last = bare.back();
        const auto conditions = std::exchange(last.conditions, {});
        if (conditions.empty() || selectNodes(m_root, bare).empty())
            return {kNoTagSuchAs, "there is no '" + last.name + "' here"};
        const auto& [attribute, wanted] = conditions.front();
        const std::string reason = last.name + " has no " + attribute + " '" + wanted + "'";
        if (attribute == kAddress)
            return {kWrongAddress, reason};
        return {attribute == kChoice ? kWrongChoice : kUnknownAttribute, reason + " now"};
    }
    return {kNoTagSuchAs, "the view does not show this element"};
}

Outcome ParameterModel::readValue(std::uint32_t view, std::string_view path) const
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    if (!selection.failure.isGood())
        return selection.failure;
    const ParameterDefinition& definition = *definitionOf(selection.first());
    if (definition.kind == Kind::group)
        return {kNotReadable, definition.name + " has no value of its own"};
    return {0, std::string{textOf(selection.first(), definition)}};
}

Outcome ParameterModel::writeValue(std::uint32_t view, std::string_view path,
                                   std::string_view value)
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    if (!selection.failure.isGood())
        return selection.failure;
    Changes changes;
    const Outcome outcome = planValue(selection.first(), value, false, changes);
    if (outcome.isGood())
        apply(changes);
    return outcome;
}

Outcome ParameterModel::readSection(std::uint32_t view, std::string_view path,
                                    bool currentChoicesOnly) const
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    if (!selection.failure.isGood())
        return selection.failure;
    pugi::xml_document section;
    copy(selection.first(), section, *selection.view, currentChoicesOnly);
    return {0, toText(section)};
}

void ParameterModel::copy(pugi::xml_node from, pugi::xml_node to, const ParameterView& view,
                          bool currentChoicesOnly) const
{
    pugi::xml_node node = to.append_child(from.name());
    for (const pugi::xml_attribute attribute : from.attributes())
        node.append_copy(attribute);
    const std::string_view choice = from.attribute(kChoice).value();
    for (const pugi::xml_node child : from.children())
        if (child.type() != pugi::node_element)
            node.append_copy(child);
        else if (isShown(view, child) &&
                 (!currentChoicesOnly || choice.empty() || choice == child.name()))
            copy(child, node, view, currentChoicesOnly);
}

Outcome ParameterModel::writeSection(std::uint32_t view, std::string_view path,
                                     std::string_view section)
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    if (!selection.failure.isGood())
        return selection.failure;
    pugi::xml_document wanted;
    const auto parsed = wanted.load_buffer(section.data(), section.size());
    if (!parsed)
        return {kSettingRefused, std::string{"the section is not XML: "} + parsed.description() +
                                     " at byte " + std::to_string(parsed.offset)};
    Changes changes;
    Outcome outcome;
    // A section is the element that the path names, or elements below it.
    const pugi::xml_node target = selection.first();
    const pugi::xml_node first = wanted.document_element();
    if (std::string_view{first.name()} == target.name()) {
        outcome = plan(target, first, changes);
    } else {
        for (const pugi::xml_node child : wanted.children())
            if (outcome.isGood() && child.type() == pugi::node_element)
                outcome = planChild(target, child, changes);
    }
    if (outcome.isGood())
        apply(changes);
    return outcome;
}

Outcome ParameterModel::plan(pugi::xml_node node, pugi::xml_node wanted, Changes& changes) const
{
    if (Outcome outcome = planAttributes(node, wanted, changes); !outcome.isGood())
        return outcome;
    if (!definitionOf(node)->hasChildren())
        return planValue(node, wanted.child_value(), true, changes);
    for (const pugi::xml_node child : wanted.children()) {
        if (child.type() != pugi::node_element)
            continue;
        if (Outcome outcome = planChild(node, child, changes); !outcome.isGood())
            return outcome;
    }
    return {};
}

Outcome ParameterModel::planAttributes(pugi::xml_node node, pugi::xml_node wanted,
                                       Changes& changes) const
{
    for (const pugi::xml_attribute attribute : wanted.attributes()) {
        const std::string_view name = attribute.name();
        const bool isChoice = name == kChoice && node.attribute(kChoice);
        if (name == kAddress && node.attribute(kAddress)) {
            if (std::string_view{attribute.value()} != node.attribute(kAddress).value())
                return {kWrongAddress, std::string{node.name()} + ": address '" +
                                           attribute.value() + "' is not the one of the path"};
        } else if (!isChoice) {
            return {kUnknownAttribute,
                    std::string{node.name()} + " has no attribute '" + attribute.name() + "'"};
        }
        if (isChoice) {
            if (Outcome outcome = planValue(node, attribute.value(), false, changes);
                !outcome.isGood())
                return outcome;
        }
    }
    return {};
}

Outcome ParameterModel::planChild(pugi::xml_node node, pugi::xml_node wanted,
                                  Changes& changes) const
{
    const ParameterDefinition* definition = definitionOf(node)->child(wanted.name());
    if (definition == nullptr)
        return {kNoTagSuchAs, std::string{node.name()} + " has no element '" + wanted.name() + "'"};
    const pugi::xml_node child = findChild(node, wanted);
    if (!child)
        return {kWrongAddress,
                definition->name + " has no address '" + wanted.attribute(kAddress).value() + "'"};
    return plan(child, wanted, changes);
}

Outcome ParameterModel::planValue(pugi::xml_node node, std::string_view text, bool mayBeReadOnly,
                                  Changes& changes) const
{
    const ParameterDefinition& definition = *definitionOf(node);
    if (definition.isReadOnly) {
        // A section that was read and is written back holds the read-only values, too.
        if (mayBeReadOnly && text == textOf(node, definition))
            return {};
        return {kReadOnly, definition.name + " cannot be written"};
    }
    const Outcome outcome = definition.check(text);
    if (!outcome.isGood())
        return outcome;
    changes.push_back({node, outcome.text});
    return {};
}

void ParameterModel::apply(const Changes& changes)
{
    for (Change change : changes)
        if (pugi::xml_attribute choice = change.node.attribute(kChoice))
            choice.set_value(change.text.c_str());
        else
            change.node.text().set(change.text.c_str());
    ++m_version;
}

Outcome ParameterModel::readSchema(std::uint32_t view, std::string_view path) const
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    if (!selection.failure.isGood())
        return selection.failure;
    const ParameterDefinition& definition = *definitionOf(selection.first());
    return {0, path.empty() ? composeViewSchema(definition, *selection.view)
                            : composeSectionSchema(definition)};
}

Outcome ParameterModel::readStyleSheet(std::uint32_t view) const
{
    const ParameterView* found = findView(view);
    if (found == nullptr)
        return {kInvalidView, "there is no view " + std::to_string(view)};
    return {0, composeStyleSheet(found->name)};
}

Outcome ParameterModel::resetSelected(std::uint32_t view, std::string_view path)
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(view, path);
    for (const pugi::xml_node node : selection.nodes)
        reset(node);
    return selection.failure;
}

void ParameterModel::resetAll()
{
    const std::lock_guard lock{m_mutex};
    reset(m_root);
}

std::string ParameterModel::initialOf(pugi::xml_node node) const
{
    const auto own = m_ownInitials.find(node);
    return own != m_ownInitials.end() ? own->second : definitionOf(node)->initial(instanceOf(node));
}

void ParameterModel::reset(pugi::xml_node node)
{
    const ParameterDefinition& definition = *definitionOf(node);
    if (definition.isReadOnly)
        return;
    if (definition.kind != Kind::group)
        apply({{node, initialOf(node)}});
    for (const pugi::xml_node child : node.children())
        if (child.type() == pugi::node_element)
            reset(child);
}

std::optional<std::string> ParameterModel::value(std::string_view path) const
{
    Outcome outcome = readValue(parameterViews().front().id, path);
    return outcome.isGood() ? std::optional{std::move(outcome.text)} : std::nullopt;
}

std::map<std::string, std::string, std::less<>>
ParameterModel::valuesOf(std::string_view path) const
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(parameterViews().front().id, path);
    std::map<std::string, std::string, std::less<>> values;
    if (!selection.failure.isGood())
        return values;
    const ParameterDefinition& definition = *definitionOf(selection.first());
    for (const ParameterDefinition& child : definition.children)
        if (child.kind != Kind::group)
            values[child.name] = textOf(selection.first().child(child.name.c_str()), child);
    return values;
}

bool ParameterModel::store(std::string_view path, std::string_view text, bool asInitial)
{
    const std::lock_guard lock{m_mutex};
    const Selection selection = select(parameterViews().front().id, path);
    if (!selection.failure.isGood())
        return false;
    const Outcome outcome = definitionOf(selection.first())->check(text);
    if (!outcome.isGood())
        return false;
    apply({{selection.first(), outcome.text}});
    if (asInitial)
        m_ownInitials[selection.first()] = outcome.text;
    return true;
}

} // namespace zel::simulator
