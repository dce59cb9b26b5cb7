#include "call_pattern.h"

using namespace zel;

int32_t ZEL_XSTAT_GetErrorStatus(uint64_t uuid, ZEL_ErrorList* list)
{
    return forward({list}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSTAT_GetErrorStatusEx(uint64_t uuid, ZEL_ErrorListEx* list)
{
    return forward({list}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

// The two documents as text may be asked for without a buffer: then only the result matters.
int32_t ZEL_XSTAT_GetErrorStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                       uint64_t capacity)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid, buffer, length, capacity); });
}

int32_t ZEL_XSTAT_GetModuleStatus(uint64_t uuid, ZEL_StatusList* list)
{
    return forward({list}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSTAT_GetModuleStatusEx(uint64_t uuid, ZEL_StatusListEx* list)
{
    return forward({list}, [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSTAT_GetModuleStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                        uint64_t capacity)
{
    return forward({}, [&](clSystemMgr&) { return notAvailable(uuid, buffer, length, capacity); });
}

int32_t ZEL_XSTAT_GetTedsStatus(uint64_t uuid, uint32_t connector, uint32_t* status, char* error,
                                uint64_t* errorLength, uint64_t errorCapacity, char* warning,
                                uint64_t* warningLength, uint64_t warningCapacity)
{
    return forward({status, error, errorLength, warning, warningLength}, [&](clSystemMgr&) {
        return notAvailable(uuid, connector, errorCapacity, warningCapacity);
    });
}

int32_t ZEL_XSTAT_GetConnectedModules(uint64_t uuid, ZEL_ConnectedModule* modules, uint64_t* count,
                                      uint64_t capacity)
{
    // Callers rely on the count also when the library is not started.
    if (count != nullptr)
        *count = 0;
    return forward({modules, count, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XSTAT_GetTopology(const char* fileName)
{
    return forward({fileName}, [](clSystemMgr&) { return notAvailable(); });
}

int32_t ZEL_XSTAT_GetTopologyString(char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)}, [](clSystemMgr&) { return notAvailable(); });
}
