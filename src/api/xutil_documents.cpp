#include "call_pattern.h"
#include "error_reply.h"
#include "record_documents.h"

using namespace zel;

namespace {

std::int32_t compose(const RecordLayout& layout, const void* record, const TextBuffer& buffer)
{
    return checked({record, buffer.data, buffer.length, orNull(buffer.capacity)},
                   [&] { return composeRecord(layout, record, buffer); });
}

std::int32_t parse(const RecordLayout& layout, const char* document, void* record)
{
    return checked({document, record}, [&] { return parseRecord(layout, document, record); });
}

} // namespace

int32_t ZEL_XUTIL_ComposeSensor(const ZEL_Sensor* sensor, char* buffer, uint64_t* length,
                                uint64_t capacity)
{
    return compose(kSensorLayout, sensor, {buffer, length, capacity});
}

int32_t ZEL_XUTIL_ParseSensor(const char* document, ZEL_Sensor* sensor)
{
    return parse(kSensorLayout, document, sensor);
}

int32_t ZEL_XUTIL_ComposeCanSensor(const ZEL_CanSensor* sensor, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return compose(kCanSensorLayout, sensor, {buffer, length, capacity});
}

int32_t ZEL_XUTIL_ParseCanSensor(const char* document, ZEL_CanSensor* sensor)
{
    return parse(kCanSensorLayout, document, sensor);
}

int32_t ZEL_XUTIL_ComposeSignal(const ZEL_Signal* signal, char* buffer, uint64_t* length,
                                uint64_t capacity)
{
    return compose(kSignalLayout, signal, {buffer, length, capacity});
}

int32_t ZEL_XUTIL_ParseSignal(const char* document, ZEL_Signal* signal)
{
    return parse(kSignalLayout, document, signal);
}

int32_t ZEL_XUTIL_ComposeCanSignal(const ZEL_CanSignal* signal, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return compose(kCanSignalLayout, signal, {buffer, length, capacity});
}

int32_t ZEL_XUTIL_ParseCanSignal(const char* document, ZEL_CanSignal* signal)
{
    return parse(kCanSignalLayout, document, signal);
}

int32_t ZEL_XUTIL_ComposeGateIndex(const ZEL_GateIndex* gate, char* buffer, uint64_t* length,
                                   uint64_t capacity)
{
    return compose(kGateIndexLayout, gate, {buffer, length, capacity});
}

int32_t ZEL_XUTIL_ParseGateIndex(const char* document, ZEL_GateIndex* gate)
{
    return parse(kGateIndexLayout, document, gate);
}

int32_t ZEL_XUTIL_ParseErrors(const char* document, ZEL_ReplyMessage* messages, uint64_t* count,
                              uint64_t capacity)
{
    return checked({document, messages, count},
                   [&] { return parseErrorReply(document, messages, *count, capacity); });
}
