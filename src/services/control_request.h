#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

/// The parameters of a control: a document of its own, elements Par1, Par2, ... in the order of the
/// calls.
class clControlParameters {
public:
    clControlParameters& add(std::string_view text);
    clControlParameters& add(std::uint64_t number);

    /// The document; an empty text where nothing was added. The object is done with.
    std::string take();

private:
    std::string m_text;
    std::uint64_t m_count = 0;
};

/// The request that executes a control. The parameter document travels as character data, so its
/// markup is escaped once more; an empty one is left out.
std::string controlRequest(const char* control, const char* parameterDocument);

} // namespace zel
