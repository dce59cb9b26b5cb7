#include "own_uuid.h"

#include "host_adapters.h"
#include "host_facts.h"
#include "process_wide.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace zel {

namespace {

std::uint64_t makeOwnUuid()
{
    constexpr std::uint64_t kLastThreeBytes = 0xFFFFFF;
    std::uint64_t hardware = 0;
    const auto adapters = sys::listHostAdapters();
    if (!adapters.empty()) {
        std::string digits = adapters.front().physicalAddress;
        digits.erase(std::remove(digits.begin(), digits.end(), ':'), digits.end());
        hardware = std::strtoull(("0x" + digits).c_str(), nullptr, 16);
    }
    return std::uint64_t{processId()} << 48 | (hardware & kLastThreeBytes);
}

} // namespace

std::uint64_t ownUuid()
{
    static constinit ProcessWide<std::uint64_t> uuid;
    return uuid.get(makeOwnUuid);
}

} // namespace zel
