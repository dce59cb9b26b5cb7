#pragma once

#include "method_call.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zel::simulator {

/// What one element of the parameter document is: its values, its range, its children. The
/// document, its schema and the checks of what a host writes are all made from these.
struct ParameterDefinition {
    enum class Kind {
        group,
        alternative, ///< a group whose attribute "choice" names the child that applies
        text,
        integer,
        real,
        enumeration,
        ipAddress,
        hexadecimal,
    };

    std::string name;
    Kind kind = Kind::group;
    /// '#' stands for the number, from 1, of the addressed element around it. Several are
    /// dealt out in turn to those elements.
    std::vector<std::string> initials;
    double minimum = 0;
    double maximum = 0;
    std::size_t longest = 64;
    std::vector<std::string> choices;
    bool isReadOnly = false;
    /// Addressed elements occur `count` times with the attribute "address" from `firstAddress` on.
    unsigned count = 1;
    unsigned firstAddress = 0;
    bool isAddressed = false;
    std::vector<ParameterDefinition> children;

    bool hasChildren() const { return kind == Kind::group || kind == Kind::alternative; }
    const ParameterDefinition* child(std::string_view childName) const;
    std::string initial(unsigned instance) const;
    /// The value as the module keeps it, or the code and the reason of its refusal.
    Outcome check(std::string_view value) const;
};

/// The document of a measurement-amplifier module, below its root element.
ParameterDefinition amplifierDefinition();

} // namespace zel::simulator
