#pragma once

#include "module_session.h"
#include "ZEL_VR_Framework.h"

#include <cstdint>
#include <string>

namespace zel::cli {

/// What was asked, for the message when it fails.
struct Attempt {
    std::string tried;    ///< "read the list of views"
    std::string advice{}; ///< what to do when the module refuses
};

/// Calls a function of the library that fills (buffer, length, capacity), with a larger buffer as
/// long as the answer does not fit: it may grow between two calls.
template <class Call>
std::int32_t readGrowing(std::string& text, Call&& call)
{
    constexpr std::uint64_t kFirstCapacity = 16384;
    constexpr std::uint64_t kLargestText = 1ULL << 30U;
    constexpr int kAttempts = 5;

    std::string buffer(kFirstCapacity, '\0');
    std::uint64_t length = 0;
    std::int32_t code = ZEL_OK;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        length = 0;
        code = call(buffer.data(), &length, static_cast<std::uint64_t>(buffer.size()));
        if (code != ZEL_SRV_BUFFER_TOO_SMALL || length < buffer.size() || length > kLargestText)
            break;
        buffer.assign(length + 1, '\0');
    }
    if (code >= ZEL_OK)
        text.assign(buffer, 0, length);
    return code;
}

/// The same, for a text of a module; throws CommandFailure when it cannot be had.
template <class Call>
std::string readText(const ModuleConnection& module, const Attempt& attempt, Call&& call)
{
    std::string text;
    module.checkReading(readGrowing(text, call), attempt.tried, attempt.advice);
    return text;
}

inline std::int32_t readName(const ModuleConnection& module, std::string& name)
{
    return readGrowing(name, [&](char* buffer, std::uint64_t* length, std::uint64_t capacity) {
        return ZEL_XPAR_ReadPar(module.uuid(), 1, "System/Name", "", buffer, length, capacity);
    });
}

/// What the module calls itself; "" where it does not tell.
inline std::string moduleName(const ModuleConnection& module)
{
    std::string name;
    readName(module, name);
    return name;
}

} // namespace zel::cli
