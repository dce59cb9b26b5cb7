#include "device_texts.h"

#include "module_codes.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace zel::simulator {

namespace {

constexpr std::array<std::pair<std::int32_t, std::string_view>, 9> kTexts{{
    {kReadOnly, "PARAM: Parameter cannot be written"},
    {kSensorSwitchedOff, "Sensor supply switched off"},
    {kOverflow, "Signal overflow"},
    {kTedsDoesNotFit, "TEDS: Data do not fit the memory"},
    {kTedsPageDoesNotFit, "TEDS: Data do not fit the memory's pages"},
    {kNoSuchControl, "CTRL: Unknown control"},
    {kNoFileChosen, "SYS: No file chosen"},
    {kNoFirmwareReceived, "SYS: No firmware received"},
    {kFlashingRuns, "SYS: Flashing is running"},
}};

} // namespace

std::string moduleText(std::int32_t code)
{
    const auto found =
        std::ranges::find(kTexts, code, [](const auto& entry) { return entry.first; });
    return std::string{found == kTexts.end() ? "" : found->second};
}

} // namespace zel::simulator
