#include "firmware_store.h"

#include "module_codes.h"

#include <algorithm>
#include <array>

namespace zel::simulator {

namespace {

/// The largest size that the module has room for, by index of the image.
constexpr std::array<std::size_t, FirmwareStore::kImages> kLargest{
    0x100000, 0x400000, 0x100000, 0x600000, 0x300000, 0x100000, 0x10000,
    0x10000,  0x20000,  0x40000,  0x100000, 0x100000, 100000};
constexpr std::uint32_t kChannelProcessorImage = 6;
constexpr std::uint32_t kChannels = 8;

} // namespace

Outcome FirmwareStore::announce(std::uint32_t index)
{
    if (index >= kLargest.size())
        return {kInvalidParameters, "there is no firmware image " + std::to_string(index)};
    if (progress().status == Status::running)
        return {kFlashingRuns, "flashing is running"};
    m_announced = index;
    return {};
}

Outcome FirmwareStore::receive(std::string image)
{
    if (!m_announced)
        return {kNoFileChosen, "no firmware image was announced"};
    const std::uint32_t index = *m_announced;
    m_announced.reset();
    if (image.size() > kLargest[index])
        return {kFileTooLarge, "image " + std::to_string(index) + " has " +
                                   std::to_string(image.size()) + " bytes, at most " +
                                   std::to_string(kLargest[index]) + " are accepted"};
    m_images[index] = std::move(image);
    return {};
}

Outcome FirmwareStore::startFlashing()
{
    return start(!m_images.empty());
}

Outcome FirmwareStore::startChannelFlashing(std::uint32_t channel)
{
    if (channel >= kChannels)
        return {kNoSuchConnector, "there is no channel " + std::to_string(channel)};
    return start(m_images.contains(kChannelProcessorImage));
}

Outcome FirmwareStore::start(bool hasImage)
{
    if (progress().status == Status::running)
        return {kFlashingRuns, "flashing is running"};
    if (!hasImage)
        return {kNoFirmwareReceived, "there is no image to flash"};
    m_started = std::chrono::steady_clock::now();
    return {};
}

FirmwareStore::Progress FirmwareStore::progress() const
{
    if (!m_started)
        return {Status::idle, 0};
    const auto elapsed =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - *m_started);
    const auto total = std::max<milliseconds::rep>(m_flashTime.count(), 1);
    const auto percent =
        static_cast<std::uint32_t>(std::min<milliseconds::rep>(elapsed.count() * 100 / total, 100));
    if (m_fails && percent >= 50)
        return {Status::failed, 50};
    return {percent == 100 ? Status::done : Status::running, percent};
}

void FirmwareStore::restarted()
{
    m_announced.reset();
    m_started.reset();
}

} // namespace zel::simulator
