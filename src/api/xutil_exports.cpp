#include "call_pattern.h"
#include "library_version.h"
#include "process_wide.h"

#include <string>

using namespace zel;

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
