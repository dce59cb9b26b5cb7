#include "call_pattern.h"
#include "connect.h"
#include "own_uuid.h"

using namespace zel;

int32_t ZEL_XCOM_ConnectToTcpIpDev(const char* address, uint16_t port, uint64_t* uuid)
{
    return forward({address, uuid}, [&](clSystemMgr& mgr) {
        return connectToModule(mgr.connections(), mgr.loop(), address, port, *uuid);
    });
}

int32_t ZEL_XCOM_DisconnectFromTcpIpDev(const char* address, uint16_t port)
{
    return forward({address}, [&](clSystemMgr& mgr) {
        const std::uint64_t uuid = disconnectByAddress(mgr.connections(), address, port);
        if (uuid == ZEL_NO_MODULE)
            return ZEL_FAILED;
        mgr.subscriptions().erase(uuid);
        return ZEL_OK;
    });
}

int32_t ZEL_XCOM_Disconnect(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr& mgr) {
        if (!mgr.connections().erase(uuid))
            return ZEL_CONN_UNKNOWN_UUID;
        mgr.subscriptions().erase(uuid);
        return ZEL_OK;
    });
}

uint64_t ZEL_XCOM_GetOwnUUID()
{
    std::uint64_t uuid = ZEL_NO_MODULE;
    withoutThrowing([&] {
        uuid = ownUuid();
        return ZEL_OK;
    });
    return uuid;
}

int32_t ZEL_XCOM_DoNetScan(uint32_t adapter, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(adapter); });
}

int32_t ZEL_XCOM_ScanEthSegment(uint32_t adapter, ZEL_SegmentArray* segment)
{
    return forward({segment}, [&](clSystemMgr&) { return notAvailable(adapter); });
}

int32_t ZEL_XCOM_DoFirewireScan(char* buffer, uint64_t capacity, uint64_t* length)
{
    return checked({buffer, orNull(capacity), length}, [] { return notAvailable(); });
}

int32_t ZEL_XCOM_ScanFirewireSegment(ZEL_SegmentArray* segment)
{
    return checked({segment}, [] { return notAvailable(); });
}

int32_t ZEL_XCOM_GetNetAdapter(char* buffer, uint64_t* length, uint64_t capacity)
{
    const std::int32_t result =
        checked({buffer, length, orNull(capacity)}, [] { return notAvailable(); });
    if (result != ZEL_OK && length != nullptr)
        *length = 0;
    return result;
}

int32_t ZEL_XCOM_ReadNetSetting(uint64_t uuid, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XCOM_ReadNetSettings(uint64_t uuid, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)},
                   [&](clSystemMgr&) { return notAvailable(uuid); });
}

int32_t ZEL_XCOM_WriteNetSetting(uint64_t uuid, const char* document, uint64_t length)
{
    return forward({document}, [&](clSystemMgr&) { return notAvailable(uuid, length); });
}

int32_t ZEL_XCOM_Async_ReadData(uint32_t handle)
{
    constexpr std::uint32_t kTimeoutMs = 5000;
    return ZEL_XCOM_Async_ReadData_Timeout(handle, kTimeoutMs);
}

int32_t ZEL_XCOM_Async_ReadData_Timeout(uint32_t handle, uint32_t timeoutMs)
{
    return forward({}, [&](clSystemMgr& mgr) { return mgr.asyncReads().read(handle, timeoutMs); });
}
