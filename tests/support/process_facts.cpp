#include "process_facts.h"

#ifdef _WIN32

#include <algorithm>
#include <array>
#include <cstdint>

#include <windows.h>
#include <psapi.h>
#include <tlhelp32.h>

namespace zel::test {

namespace {

// Wine counts no handles, but gives new ones the lowest numbers that are free: once they fill all
// gaps, the highest number tells how many there are.
std::size_t countOfHandles()
{
    std::array<HANDLE, 512> fresh{};
    std::uintptr_t highest = 0;
    for (HANDLE& handle : fresh) {
        handle = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        highest = std::max(highest, reinterpret_cast<std::uintptr_t>(handle) / 4);
    }
    for (const HANDLE handle : fresh)
        CloseHandle(handle);
    return highest - fresh.size();
}

} // namespace

ProcessFacts processFacts()
{
    ProcessFacts facts;
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    facts.descriptors = handles != 0 ? handles : countOfHandles();
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
