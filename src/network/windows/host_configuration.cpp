#include "host_configuration.h"

#include "mutex.h"
#include "wmi_steps.h"

#include <mutex>

namespace zel::network {

namespace {

/// Connects to the management service; null when that fails.
IWbemServices* connect()
{
    // Whoever uses the library may have chosen another threading model already.
    const HRESULT initialised = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(initialised) && initialised != RPC_E_CHANGED_MODE)
        return nullptr;
    IWbemLocator* locator = nullptr;
    if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                reinterpret_cast<void**>(&locator))))
        return nullptr;
    IWbemServices* service = nullptr;
    const BSTR name = SysAllocString(L"ROOT\\CIMV2");
    if (FAILED(
            locator->ConnectServer(name, nullptr, nullptr, nullptr, 0, nullptr, nullptr, &service)))
        service = nullptr;
    SysFreeString(name);
    locator->Release();
    if (service && FAILED(CoSetProxyBlanket(service, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                            RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE,
                                            nullptr, EOAC_NONE))) {
        service->Release();
        return nullptr;
    }
    return service;
}

/// Made by the first success and kept for the life of the process.
IWbemServices* service()
{
    static Mutex mutex;
    static IWbemServices* kept = nullptr;
    const std::lock_guard lock{mutex};
    if (!kept)
        kept = connect();
    return kept;
}

} // namespace

int isFirewireAdapter(std::uint32_t interfaceIndex)
{
    IWbemServices* const connected = service();
    return connected ? wmi::isFirewireAdapter(*connected, interfaceIndex) : -1;
}

int setStaticAddress(std::uint32_t interfaceIndex, const std::string& address,
                     const std::string& mask)
{
    IWbemServices* const connected = service();
    return connected ? wmi::setStaticAddress(*connected, interfaceIndex, address, mask) : -1;
}

int switchToDhcp(std::uint32_t interfaceIndex)
{
    IWbemServices* const connected = service();
    return connected ? wmi::switchToDhcp(*connected, interfaceIndex) : -1;
}

} // namespace zel::network
