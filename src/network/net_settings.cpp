#include "net_settings.h"

#include "parameters.h"
#include "request_document.h"
#include "ZEL_VR_Framework.h"

namespace zel::network {

namespace {

constexpr std::uint32_t kView = 1;

template <class Send>
std::int32_t sendByEitherWay(const RemoteModule& module, const RequestPath& datagrams, Send&& send)
{
    const std::int32_t result = send(module);
    return result == ZEL_CONN_UNKNOWN_UUID ? send(RemoteModule{datagrams, module.uuid}) : result;
}

} // namespace

std::int32_t readNetSettings(const RemoteModule& module, const RequestPath& datagrams,
                             NetSettings which, const TextBuffer& buffer)
{
    const std::string request =
        clRequestDocument{}
            .addNumber("View", kView)
            .addText("Path", which == NetSettings::oneInterface ? "/Communication/Network/eth0"
                                                                : "/Communication/Network")
            .take();
    return sendByEitherWay(module, datagrams, [&](const RemoteModule& way) {
        return sendForText(way, wire::ParameterMethod::readSection, request, buffer);
    });
}

std::int32_t writeNetSettings(const RemoteModule& module, const RequestPath& datagrams,
                              std::string_view document)
{
    return sendByEitherWay(module, datagrams, [&](const RemoteModule& way) {
        return parameters::writeSection(way, kView, "/Communication", document);
    });
}

} // namespace zel::network
