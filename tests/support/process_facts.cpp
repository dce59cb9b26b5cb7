#include "process_facts.h"

#ifdef _WIN32

#include <cstdint>

#include <windows.h>
#include <psapi.h>
#include <tlhelp32.h>

namespace zel::test {

namespace {

// Wine counts no handles, but gives a new one the lowest number that is free: it rises with leaks.
std::size_t lowestFreeHandle()
{
    const HANDLE fresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(fresh);
    return reinterpret_cast<std::uintptr_t>(fresh) / 4;
}

} // namespace

ProcessFacts processFacts()
{
    ProcessFacts facts;
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    facts.descriptors = handles != 0 ? handles : lowestFreeHandle();
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        facts.threads += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    PROCESS_MEMORY_COUNTERS memory{};
    if (K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory))
        facts.residentBytes = memory.WorkingSetSize;
    return facts;
}

} // namespace zel::test

#else

#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace zel::test {

namespace {

std::size_t entriesOf(const char* folder)
{
    const std::filesystem::directory_iterator entries{folder};
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

} // namespace

ProcessFacts processFacts()
{
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    std::ifstream{"/proc/self/statm"} >> pages >> residentPages;
    return {entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"),
            residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

} // namespace zel::test

#endif
