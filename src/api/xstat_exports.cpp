#include "call_pattern.h"
#include "status.h"
#include "topology.h"

using namespace zel;
using wire::StatusMethod;

int32_t ZEL_XSTAT_GetErrorStatus(uint64_t uuid, ZEL_ErrorList* list)
{
    return forward({list}, [&](clSystemMgr& mgr) {
        return status::readErrors(mgr.module(uuid), list->count, list->entries);
    });
}

int32_t ZEL_XSTAT_GetErrorStatusEx(uint64_t uuid, ZEL_ErrorListEx* list)
{
    return forward({list}, [&](clSystemMgr& mgr) {
        return status::readErrors(mgr.module(uuid), list->count, list->entries);
    });
}

// The two documents as text may be asked for without a buffer: then only the result matters.
int32_t ZEL_XSTAT_GetErrorStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                       uint64_t capacity)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return sendForText(mgr.module(uuid), StatusMethod::getErrors, {},
                           {buffer, length, capacity});
    });
}

int32_t ZEL_XSTAT_GetModuleStatus(uint64_t uuid, ZEL_StatusList* list)
{
    return forward({list}, [&](clSystemMgr& mgr) {
        return status::readStatuses(mgr.module(uuid), list->count, list->entries);
    });
}

int32_t ZEL_XSTAT_GetModuleStatusEx(uint64_t uuid, ZEL_StatusListEx* list)
{
    return forward({list}, [&](clSystemMgr& mgr) {
        return status::readStatuses(mgr.module(uuid), list->count, list->entries);
    });
}

int32_t ZEL_XSTAT_GetModuleStatusString(uint64_t uuid, char* buffer, uint64_t* length,
                                        uint64_t capacity)
{
    return forward({}, [&](clSystemMgr& mgr) {
        return sendForText(mgr.module(uuid), StatusMethod::getStatuses, {},
                           {buffer, length, capacity});
    });
}

int32_t ZEL_XSTAT_GetTedsStatus(uint64_t uuid, uint32_t connector, uint32_t* status, char* error,
                                uint64_t* errorLength, uint64_t errorCapacity, char* warning,
                                uint64_t* warningLength, uint64_t warningCapacity)
{
    return forward({status, error, errorLength, warning, warningLength}, [&](clSystemMgr& mgr) {
        return status::readTedsStatus(mgr.module(uuid), connector, *status,
                                      {error, errorLength, errorCapacity},
                                      {warning, warningLength, warningCapacity});
    });
}

int32_t ZEL_XSTAT_GetConnectedModules(uint64_t uuid, ZEL_ConnectedModule* modules, uint64_t* count,
                                      uint64_t capacity)
{
    // Callers rely on the count also when the library is not started.
    if (count != nullptr)
        *count = 0;
    return forward({modules, count, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return topology::readConnectedModules(mgr.module(uuid), mgr.connections(), modules, *count,
                                              capacity);
    });
}

int32_t ZEL_XSTAT_GetTopology(const char* fileName)
{
    return forward({fileName}, [&](clSystemMgr& mgr) {
        return topology::composeToFile(mgr.connections(), fileName);
    });
}

int32_t ZEL_XSTAT_GetTopologyString(char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return topology::compose(mgr.connections(), {buffer, length, capacity});
    });
}
