#include "call_pattern.h"
#include "signal_path.h"

#include <algorithm>
#include <cstring>
#include <string>

using namespace zel;

namespace {

/// Silently cuts a path that is too long: its length is then one less than the size.
template <class Compose>
std::int32_t compose(char* buffer, std::uint64_t size, std::uint64_t* length, Compose&& path)
{
    return checked({buffer, orNull(size)}, [&] {
        const std::string text = path();
        const std::size_t written = std::min<std::size_t>(text.size(), size - 1);
        std::memcpy(buffer, text.data(), written);
        buffer[written] = '\0';
        if (length != nullptr)
            *length = written;
        return ZEL_OK;
    });
}

} // namespace

int32_t ZEL_XUTIL_ComposeChannelPath(uint32_t connector, uint32_t channel, uint32_t type,
                                     char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [&] {
        return signals::channelPath({connector, channel, 0, type}, signals::PathForm::address);
    });
}

int32_t ZEL_XUTIL_ComposeSensorPath(uint32_t connector, uint32_t channel, uint32_t type,
                                    char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [&] {
        return signals::sensorPath({connector, channel, 0, type});
    });
}

int32_t ZEL_XUTIL_ComposeSignalPath(uint32_t connector, uint32_t channel, uint32_t signal,
                                    uint32_t type, char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [&] {
        return signals::signalPath({connector, channel, signal, type}, signals::PathForm::numbered);
    });
}

int32_t ZEL_XUTIL_ComposeAmplifierPath(uint32_t connector, char* buffer, uint64_t size)
{
    return compose(buffer, size, nullptr, [&] { return signals::amplifierPath(connector); });
}

int32_t ZEL_XUTIL_ComposeAlarmPath(char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [] { return signals::functionPath("Alarm"); });
}

int32_t ZEL_XUTIL_ComposeGatePath(char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [] { return signals::functionPath("Gate"); });
}

int32_t ZEL_XUTIL_ComposePeakPath(char* buffer, uint64_t size, uint64_t* length)
{
    return compose(buffer, size, length, [] { return signals::functionPath("Peak"); });
}

int32_t ZEL_XUTIL_ComposeMathIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                       uint32_t index)
{
    return compose(buffer, size, length, [&] { return signals::functionPath("Math", index); });
}

int32_t ZEL_XUTIL_ComposePeakIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                       uint32_t index)
{
    return compose(buffer, size, length, [&] { return signals::functionPath("Peak", index); });
}

int32_t ZEL_XUTIL_ParseSignalPath(const char* path, uint32_t, uint32_t* connector,
                                  uint32_t* channel, uint32_t* signal, uint32_t* type)
{
    return checked({path, connector, channel, signal, type}, [&] {
        const auto found = signals::parseSignalPath(path);
        const auto numbers = found.value_or(signals::SignalNumbers{});
        *connector = numbers.connector;
        *channel = numbers.channel;
        *signal = numbers.signal;
        *type = numbers.type;
        return found ? ZEL_OK : ZEL_FAILED;
    });
}
