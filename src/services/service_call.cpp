#include "service_call.h"

#include "host_file.h"
#include "last_error_stores.h"
#include "sync_method_request.h"
#include "ZEL_VR_Framework.h"

#include <stdexcept>
#include <utility>

namespace zel {

namespace {

/// Runs `work(call)`, which returns a result code, and turns its exceptions into one.
template <class Work>
std::int32_t withCall(const RequestPath& path, const MethodAddress& method, std::string request,
                      Work&& work)
{
    if (request.size() > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    try {
        clSyncMthdReqrSrv call(method, std::move(request), path);
        return work(call);
    } catch (const std::exception&) {
        return ZEL_SYS_NO_OBJECT;
    }
}

CopyOutcome copyResponse(clSyncMthdReqrSrv& call, std::uint64_t uuid, const TextBuffer& buffer)
{
    if (!call.hasResponse())
        return {};
    if (buffer.data == nullptr)
        return {ZEL_OK, call.responseData().size(), false};
    const CopyOutcome copied = copyText(call.responseData(), buffer.data, buffer.capacity);
    if (copied.mustKeep)
        dataStore().put(uuid, call.takeResponse());
    return copied;
}

} // namespace

std::int32_t sendForText(const RequestPath& path, const MethodAddress& method, std::string request,
                         const TextBuffer& buffer)
{
    if (buffer.capacity != 0 && (buffer.data == nullptr || buffer.length == nullptr))
        return ZEL_SYS_BAD_PARAMETER;
    CopyOutcome copied;
    const auto exchange = [&](clSyncMthdReqrSrv& call) {
        const std::int32_t called = call.execute();
        copied = copyResponse(call, method.uuid, buffer);
        return firstOf(copied.result, called);
    };
    const std::int32_t result = withCall(path, method, std::move(request), exchange);
    if (buffer.length != nullptr)
        *buffer.length = copied.length;
    return result;
}

std::int32_t send(const RequestPath& path, const MethodAddress& method, std::string request)
{
    return withCall(path, method, std::move(request),
                    [](clSyncMthdReqrSrv& call) { return call.execute(); });
}

Response sendForResponse(const RequestPath& path, const MethodAddress& method, std::string request)
{
    Response response;
    response.result = withCall(path, method, std::move(request), [&](clSyncMthdReqrSrv& call) {
        const std::int32_t result = call.execute();
        if (call.hasResponse())
            response.telegram = call.takeResponse();
        return result;
    });
    return response;
}

std::int32_t sendForFile(const RequestPath& path, const MethodAddress& method, std::string request,
                         const char* fileName)
{
    HostFileWriter file{hostPath(fileName)};
    if (!file.isOpen())
        return ZEL_FILE_OPEN;
    const Response response = sendForResponse(path, method, std::move(request));
    if (hasFailed(response.result))
        return response.result;
    const Bytes text = response.payload();
    return firstOf(response.result, file.write(text.data(), text.size()));
}

} // namespace zel
