#pragma once

#include "method_call.h"
#include "model_path.h"
#include "parameter_definition.h"
#include "parameter_view.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace zel::simulator {

/// The module's configuration: a document with state that checks what is written to it. All
/// functions may be called from any thread; paths are as hosts write them.
class ParameterModel {
public:
    ParameterModel();

    // what hosts do; the outcome is the text asked for, or a code with the reason
    Outcome readValue(std::uint32_t view, std::string_view path) const;
    Outcome writeValue(std::uint32_t view, std::string_view path, std::string_view value);
    Outcome readSection(std::uint32_t view, std::string_view path, bool currentChoicesOnly) const;
    /// Takes all of a section or, when anything in it is refused, nothing.
    Outcome writeSection(std::uint32_t view, std::string_view path, std::string_view section);
    Outcome readSchema(std::uint32_t view, std::string_view path) const;
    Outcome readStyleSheet(std::uint32_t view) const;
    Outcome resetSelected(std::uint32_t view, std::string_view path);
    void resetAll();

    // what the module itself and tests do: read-only parameters may be set, views do not count
    std::optional<std::string> value(std::string_view path) const;
    /// The parameters of one element by their names, without those of its groups; nothing when
    /// there is no such element.
    std::map<std::string, std::string, std::less<>> valuesOf(std::string_view path) const;
    /// Changes whenever a parameter may have changed.
    std::uint64_t version() const { return m_version; }
    /// False when there is no such parameter or the value does not suit it.
    bool set(std::string_view path, std::string_view text) { return store(path, text, false); }
    /// As set(), for what this module is from its making on: a reset to defaults brings it back.
    bool setIdentity(std::string_view path, std::string_view text)
    {
        return store(path, text, true);
    }

private:
    struct Selection;
    struct Change {
        pugi::xml_node node;
        std::string text;
    };
    using Changes = std::vector<Change>;

    bool store(std::string_view path, std::string_view text, bool asInitial);
    void build(pugi::xml_node parent, const ParameterDefinition& definition, unsigned instance);
    const ParameterDefinition* definitionOf(pugi::xml_node node) const;
    unsigned instanceOf(pugi::xml_node node) const;
    bool isShown(const ParameterView& view, pugi::xml_node node) const;
    Selection select(std::uint32_t view, std::string_view path) const;
    Outcome whyNothing(ModelPath path) const;
    void copy(pugi::xml_node from, pugi::xml_node to, const ParameterView& view,
              bool currentChoicesOnly) const;
    Outcome plan(pugi::xml_node node, pugi::xml_node wanted, Changes& changes) const;
    Outcome planAttributes(pugi::xml_node node, pugi::xml_node wanted, Changes& changes) const;
    Outcome planChild(pugi::xml_node node, pugi::xml_node wanted, Changes& changes) const;
    Outcome planValue(pugi::xml_node node, std::string_view text, bool mayBeReadOnly,
                      Changes& changes) const;
    void apply(const Changes& changes);
    std::string initialOf(pugi::xml_node node) const;
    void reset(pugi::xml_node node);
    static std::string_view textOf(pugi::xml_node node, const ParameterDefinition& definition);

    const ParameterDefinition m_definition;
    std::atomic<std::uint64_t> m_version{0};

    mutable std::mutex m_mutex; // guards what follows
    pugi::xml_document m_document;
    pugi::xml_node m_root;
    std::map<pugi::xml_node, std::string> m_ownInitials;
};

} // namespace zel::simulator
