#include "adapter_document.h"
#include "call_pattern.h"
#include "connect.h"
#include "last_error_stores.h"
#include "net_settings.h"
#include "own_uuid.h"
#include "request_document.h"
#include "scan.h"

#include <optional>
#include <string>
#include <vector>

using namespace zel;

int32_t ZEL_XCOM_ConnectToTcpIpDev(const char* address, uint16_t port, uint64_t* uuid)
{
    return forward({address, uuid}, [&](clSystemMgr& mgr) {
        return connectToModule(mgr.connections(), address, port, *uuid);
    });
}

int32_t ZEL_XCOM_DisconnectFromTcpIpDev(const char* address, uint16_t port)
{
    return forward({address}, [&](clSystemMgr& mgr) {
        const std::uint64_t uuid = disconnectByAddress(mgr.connections(), address, port);
        if (uuid == ZEL_NO_MODULE)
            return ZEL_FAILED;
        mgr.subscriptions().erase(uuid);
        dropHugeErrors(uuid);
        return ZEL_OK;
    });
}

int32_t ZEL_XCOM_Disconnect(uint64_t uuid)
{
    return forward({}, [&](clSystemMgr& mgr) {
        dropHugeErrors(uuid);
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

namespace {

/// Scans, and hands what `list` writes about the modules found to the caller.
template <class List>
std::int32_t scanAndList(clSystemMgr& mgr, std::uint32_t adapter, List&& list)
{
    const std::vector<sys::HostAdapter> adapters = sys::listHostAdapters();
    std::optional<std::uint32_t> interfaceIndex;
    if (adapter < adapters.size())
        interfaceIndex = adapters[adapter].interfaceIndex;
    clDatagramContext multicast = byMulticast(mgr.multicasts(), interfaceIndex);
    clDatagramContext broadcast = byBroadcast(mgr.broadcasts(), interfaceIndex);
    const clPhonebook::Scan found{mgr.phonebook(), interfaceIndex};
    network::scan(found, {multicast, broadcast});
    return list(found);
}

} // namespace

int32_t ZEL_XCOM_DoNetScan(uint32_t adapter, char* buffer, uint64_t* length, uint64_t capacity)
{
    return forward({buffer, length, orNull(capacity)}, [&](clSystemMgr& mgr) {
        return scanAndList(mgr, adapter, [&](const clPhonebook::Scan& found) {
            return network::listModules(found, {buffer, length, capacity});
        });
    });
}

int32_t ZEL_XCOM_ScanEthSegment(uint32_t adapter, ZEL_SegmentArray* segment)
{
    return forward({segment}, [&](clSystemMgr& mgr) {
        return scanAndList(mgr, adapter, [&](const clPhonebook::Scan& found) {
            network::listModules(found, *segment);
            return ZEL_OK;
        });
    });
}

int32_t ZEL_XCOM_DoFirewireScan(char* buffer, uint64_t capacity, uint64_t* length)
{
    return checked({buffer, orNull(capacity), length}, [&] {
        // No module has ever been found on this bus.
        const std::string document = clRequestDocument{}.take();
        const CopyOutcome copied =
            copyText(asBytes(document.data(), document.size()), buffer, capacity);
        *length = copied.length;
        return copied.result;
    });
}

int32_t ZEL_XCOM_ScanFirewireSegment(ZEL_SegmentArray* segment)
{
    return checked({segment}, [&] {
        *segment = {};
        return ZEL_OK;
    });
}

int32_t ZEL_XCOM_GetNetAdapter(char* buffer, uint64_t* length, uint64_t capacity)
{
    const std::int32_t result = checked({buffer, length, orNull(capacity)}, [&] {
        return network::writeAdapterDocument(sys::listHostAdapters(), {buffer, length, capacity});
    });
    if (result != ZEL_OK && length != nullptr)
        *length = 0;
    return result;
}

static int32_t readNetSettings(network::NetSettings which, uint64_t uuid, const TextBuffer& buffer)
{
    return forward({buffer.data, buffer.length, orNull(buffer.capacity)}, [&](clSystemMgr& mgr) {
        clDatagramWays datagrams = mgr.byDatagram();
        return network::readNetSettings(mgr.module(uuid), datagrams.path(), which, buffer);
    });
}

int32_t ZEL_XCOM_ReadNetSetting(uint64_t uuid, char* buffer, uint64_t* length, uint64_t capacity)
{
    return readNetSettings(network::NetSettings::oneInterface, uuid, {buffer, length, capacity});
}

int32_t ZEL_XCOM_ReadNetSettings(uint64_t uuid, char* buffer, uint64_t* length, uint64_t capacity)
{
    return readNetSettings(network::NetSettings::section, uuid, {buffer, length, capacity});
}

int32_t ZEL_XCOM_WriteNetSetting(uint64_t uuid, const char* document, uint64_t length)
{
    return forward({document}, [&](clSystemMgr& mgr) {
        clDatagramWays datagrams = mgr.byDatagram();
        return network::writeNetSettings(mgr.module(uuid), datagrams.path(), {document, length});
    });
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
