#include "call_pattern.h"
#include "library_version.h"
#include "process_wide.h"

#include <string>

using namespace zel;

int32_t ZEL_XUTIL_ComposeChannelPath(uint32_t connector, uint32_t channel, uint32_t type,
                                     char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)},
                   [&] { return notAvailable(connector, channel, type, length); });
}

int32_t ZEL_XUTIL_ComposeSensorPath(uint32_t connector, uint32_t channel, uint32_t type,
                                    char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)},
                   [&] { return notAvailable(connector, channel, type, length); });
}

int32_t ZEL_XUTIL_ComposeSignalPath(uint32_t connector, uint32_t channel, uint32_t signal,
                                    uint32_t type, char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)},
                   [&] { return notAvailable(connector, channel, signal, type, length); });
}

int32_t ZEL_XUTIL_ComposeAmplifierPath(uint32_t connector, char* buffer, uint64_t size)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(connector); });
}

int32_t ZEL_XUTIL_ComposeAlarmPath(char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(length); });
}

int32_t ZEL_XUTIL_ComposeGatePath(char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(length); });
}

int32_t ZEL_XUTIL_ComposePeakPath(char* buffer, uint64_t size, uint64_t* length)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(length); });
}

int32_t ZEL_XUTIL_ComposeMathIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                       uint32_t index)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(length, index); });
}

int32_t ZEL_XUTIL_ComposePeakIndexPath(char* buffer, uint64_t size, uint64_t* length,
                                       uint32_t index)
{
    return checked({buffer, orNull(size)}, [&] { return notAvailable(length, index); });
}

int32_t ZEL_XUTIL_ParseSignalPath(const char* path, uint32_t, uint32_t* connector,
                                  uint32_t* channel, uint32_t* signal, uint32_t* type)
{
    return checked({path, connector, channel, signal, type}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ComposeSensor(const ZEL_Sensor* sensor, char* buffer, uint64_t* length,
                                uint64_t capacity)
{
    return checked({sensor, buffer, length, orNull(capacity)}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseSensor(const char* document, ZEL_Sensor* sensor)
{
    return checked({document, sensor}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ComposeCanSensor(const ZEL_CanSensor* sensor, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return checked({sensor, buffer, length, orNull(capacity)}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseCanSensor(const char* document, ZEL_CanSensor* sensor)
{
    return checked({document, sensor}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ComposeSignal(const ZEL_Signal* signal, char* buffer, uint64_t* length,
                                uint64_t capacity)
{
    return checked({signal, buffer, length, orNull(capacity)}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseSignal(const char* document, ZEL_Signal* signal)
{
    return checked({document, signal}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ComposeCanSignal(const ZEL_CanSignal* signal, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return checked({signal, buffer, length, orNull(capacity)}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseCanSignal(const char* document, ZEL_CanSignal* signal)
{
    return checked({document, signal}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ComposeGateIndex(const ZEL_GateIndex* gate, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return checked({gate, buffer, length, orNull(capacity)}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseGateIndex(const char* document, ZEL_GateIndex* gate)
{
    return checked({document, gate}, [] { return notAvailable(); });
}

int32_t ZEL_XUTIL_ParseErrors(const char* document, ZEL_ReplyMessage* messages, uint64_t* count,
                              uint64_t capacity)
{
    return checked({document, messages, count}, [&] { return notAvailable(capacity); });
}

int32_t ZEL_XUTIL_GetUnitCodeFromName(const char* name)
{
    return checked({name}, [] { return notAvailable(); });
}

const char* ZEL_XUTIL_GetUnitNameFromCode(uint32_t)
{
    return "";
}

int32_t ZEL_XUTIL_GetDaqHeader(uint32_t mode, uint32_t key, const void* block, uint64_t size,
                               ZEL_DaqHeader* header, uint64_t* offset)
{
    return checked({block, header, offset}, [&] { return notAvailable(mode, key, size); });
}

int32_t ZEL_XUTIL_GetDaqData(uint64_t offset, const void* block, const ZEL_DaqHeader* header,
                             void* output, uint64_t size)
{
    return notAvailable(offset, block, header, output, size);
}

int32_t ZEL_XUTIL_GetNilValues(double* real, int32_t* integer, uint32_t* unsigned_)
{
    return notAvailable(real, integer, unsigned_);
}

const char* ZEL_XUTIL_GetLastXmlError()
{
    return "";
}

const char* ZEL_XUTIL_GetDllVersion()
{
    try {
        static ProcessWide<std::string> version{libraryVersion()};
        return version->c_str();
    } catch (...) {
        return "";
    }
}
