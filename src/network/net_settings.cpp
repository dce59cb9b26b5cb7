#include "net_settings.h"

#include "parameter_documents.h"
#include "ZEL_VR_Framework.h"

namespace zel::network {

using wire::ParameterMethod;

namespace {

constexpr std::uint32_t kView = 1;

template <class Send>
std::int32_t sendByEitherWay(const RequestPath& path, const RequestPath& datagrams, Send&& send)
{
    const std::int32_t result = send(path);
    return result == ZEL_CONN_UNKNOWN_UUID ? send(datagrams) : result;
}

} // namespace

std::int32_t readNetSettings(const RequestPath& path, const RequestPath& datagrams,
                             std::uint64_t uuid, NetSettings which, const TextBuffer& buffer)
{
    const std::string request = parameters::pathRequest(kView, which == NetSettings::oneInterface
                                                                   ? "/Communication/Network/eth0"
                                                                   : "/Communication/Network");
    return sendByEitherWay(path, datagrams, [&](const RequestPath& way) {
        return sendForText(way, {uuid, ParameterMethod::readSection}, request, buffer);
    });
}

std::int32_t writeNetSettings(const RequestPath& path, const RequestPath& datagrams,
                              std::uint64_t uuid, std::string_view document)
{
    if (document.size() > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    const std::string request = parameters::writeSectionRequest(kView, "/Communication", document);
    return sendByEitherWay(path, datagrams, [&](const RequestPath& way) {
        return send(way, {uuid, ParameterMethod::writeSection}, request);
    });
}

} // namespace zel::network
