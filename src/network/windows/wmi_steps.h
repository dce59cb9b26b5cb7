#pragma once

#include <cstdint>
#include <string>

#include <windows.h>
#include <wbemcli.h>

/// The steps through the management service, on a connection that the caller has made. Everything
/// that they make is released again, also where a step fails; the service stays the caller's.
namespace zel::network::wmi {

/// 1, 0 or -1.
int isFirewireAdapter(IWbemServices& service, std::uint32_t interfaceIndex);
/// 0 or -1.
int setStaticAddress(IWbemServices& service, std::uint32_t interfaceIndex,
                     const std::string& address, const std::string& mask);
int switchToDhcp(IWbemServices& service, std::uint32_t interfaceIndex);

} // namespace zel::network::wmi
