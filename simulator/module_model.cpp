#include "module_model.h"

#include "number_forms.h"

#include <cstdio>
#include <utility>

namespace zel::simulator {

namespace {

/// A locally administered hardware address that follows the UUID, so that no two modules share one.
std::string hardwareAddress(std::uint64_t uuid)
{
    char text[24];
    std::snprintf(text, sizeof text, "02:09:%02x:%02x:%02x:%02x",
                  static_cast<unsigned>(uuid >> 24) & 0xFF,
                  static_cast<unsigned>(uuid >> 16) & 0xFF, static_cast<unsigned>(uuid >> 8) & 0xFF,
                  static_cast<unsigned>(uuid) & 0xFF);
    return text;
}

} // namespace

ModuleModel::ModuleModel(const ModuleSettings& moduleSettings,
                         std::function<void(milliseconds)> goAway)
    : settings(moduleSettings),
      restart(std::move(goAway)),
      teds(settings.uuid, settings.tedsCapacity),
      firmware(settings.flashTime, settings.flashingFails)
{
    parameters.setIdentity("System/Name", settings.name);
    parameters.setIdentity("System/SerialNumber", settings.serialNumber);
    parameters.setIdentity("System/ModuleType", settings.type);
    parameters.setIdentity("System/FirmwareVersion", settings.firmwareVersion);
    parameters.setIdentity("System/Uuid", uuidText(settings.uuid));
    parameters.setIdentity("Communication/Network/eth0/IpAdr", settings.address);
    parameters.setIdentity("Communication/Network/eth0/PhyAdr", hardwareAddress(settings.uuid));
}

void ModuleModel::restarted()
{
    firmware.restarted();
    controls = {};
    simulatedValues.clear();
    measurements.restarted();
}

std::optional<double> ModuleModel::simulatedValue(std::uint32_t connector,
                                                  std::uint32_t signal) const
{
    for (const auto& [place, simulated] : simulatedValues)
        if (place[0] == connector && place[2] == signal)
            return simulated.value;
    return std::nullopt;
}

} // namespace zel::simulator
