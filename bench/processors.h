#pragma once

#include <sched.h>
#include <unistd.h>

namespace zel::bench {

/// The modules have the last processor for themselves where there are several. Without that a pair
/// of processes is now on one processor and now on two, which makes a difference of four.
inline int moduleProcessor()
{
    return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)) - 1;
}

inline void runOnModuleProcessor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(moduleProcessor()), &one);
    sched_setaffinity(0, sizeof one, &one);
}

/// Keeps this thread, and those that it starts, away from the modules' processor.
class ApartFromModules {
public:
    ApartFromModules()
    {
        sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t others = m_before;
        CPU_CLR(static_cast<std::size_t>(moduleProcessor()), &others);
        if (CPU_COUNT(&others) > 0)
            sched_setaffinity(0, sizeof others, &others);
    }
    ~ApartFromModules() { sched_setaffinity(0, sizeof m_before, &m_before); }
    ApartFromModules(const ApartFromModules&) = delete;
    ApartFromModules& operator=(const ApartFromModules&) = delete;

private:
    cpu_set_t m_before;
};

} // namespace zel::bench
