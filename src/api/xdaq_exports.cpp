#include "call_pattern.h"

using namespace zel;

int32_t ZEL_XDAQ_OpenSubscription(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_AddSignal(uint64_t uuid, const char* reference, uint16_t userSignalId,
                           uint64_t blockSize)
{
    return forward({reference},
                   [&](clSystemMgr&) { return notAvailable(uuid, userSignalId, blockSize); });
}

int32_t ZEL_XDAQ_FinishSubscription(uint64_t uuid, uint64_t startTime)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid, startTime); });
}

int32_t ZEL_XDAQ_ClearSubscription(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received, uint64_t size)
{
    return forward({buffer, received, orNull(size)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_Async_GetMeasValBlock(uint64_t uuid, void* buffer, uint64_t* received,
                                       uint64_t size, uint32_t* handle)
{
    return forward({buffer, received, handle},
                   [&](clSystemMgr&) { return notAvailable(uuid, size); });
}

int32_t ZEL_XDAQ_GetMeasVal(uint64_t uuid, const char* reference, double* value)
{
    return forward({reference, value}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_GetMeasValByType(uint64_t uuid, const char* reference, uint32_t scaleType,
                                  double* value)
{
    return forward({reference, value}, [&](clSystemMgr&) { return notAvailable(uuid, scaleType); });
}

int32_t ZEL_XDAQ_GetAnalogMeasVal(uint64_t uuid, uint32_t connector, uint32_t signal, double* value)
{
    return forward({value}, [&](clSystemMgr&) { return notAvailable(uuid, connector, signal); });
}

int32_t ZEL_XDAQ_GetCanMeasVal(uint64_t uuid, uint32_t connector, uint32_t channel, double* value)
{
    return forward({value}, [&](clSystemMgr&) { return notAvailable(uuid, connector, channel); });
}

// Unlike the other flags of the interface, this one is true for every value but 0.
int32_t ZEL_XDAQ_GetAllMeasVals(uint64_t uuid, int32_t enabledOnly, ZEL_MeasuredValue* values,
                                uint64_t* count, uint64_t capacity)
{
    return forward({values, count, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid, enabledOnly != 0); });
}

int32_t ZEL_XDAQ_GetSignalList(uint64_t uuid, ZEL_SignalInfo* signals, uint64_t* count,
                               uint64_t capacity)
{
    return forward({signals, count, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_GetSignalListEx(uint64_t uuid, ZEL_SignalInfoEx* signals, uint64_t* count,
                                 uint64_t capacity)
{
    return forward({signals, count, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XDAQ_GetSignalListString(uint64_t uuid, char* buffer, uint64_t* length,
                                     uint64_t capacity)
{
    return forward({buffer, length}, [&](clSystemMgr&) { return notAvailable(uuid, capacity); });
}

int32_t ZEL_XDAQ_ActivateTrigger(const char* trigger)
{
    return forward({trigger}, [](clSystemMgr&) { return notAvailable(); });
}

int32_t ZEL_XDAQ_ClearTrigger(const char* trigger)
{
    return forward({trigger}, [](clSystemMgr&) { return notAvailable(); });
}

int32_t ZEL_XDAQ_WaitForTrigger(uint32_t timeoutMs, const char* trigger, ZEL_StatusEntry* status)
{
    return forward({trigger, status}, [&](clSystemMgr&) { return notAvailable(timeoutMs); });
}
