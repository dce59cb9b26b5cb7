#pragma once

#include <cstddef>

namespace zel::test {

/// What this process holds at the moment. Descriptors are handles on Windows.
struct ProcessFacts {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t residentBytes = 0;
};

ProcessFacts processFacts();

/// False under the sanitizers, which keep freed memory and have memory and threads of their own.
constexpr bool isMemoryTelling()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

} // namespace zel::test
