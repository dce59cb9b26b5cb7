#include "service_call.h"

#include "host_file.h"
#include "last_error_stores.h"
#include "response_document.h"
#include "sync_method_request.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace zel {

namespace {

/// Runs `work(call)`, which returns a result code, and turns its exceptions into one.
template <class Work>
std::int32_t withCall(const RemoteModule& module, wire::MethodId method, std::string request,
                      MutableBytes room, Work&& work)
{
    if (request.size() > kLongestRequest)
        return ZEL_SRV_INVALID_PARAMETERS;
    try {
        clSyncMthdReqrSrv call({module.uuid, method}, std::move(request), module.path, room);
        return work(call);
    } catch (const std::exception&) {
        return ZEL_SYS_NO_OBJECT;
    }
}

MutableBytes roomOf(void* buffer, std::uint64_t capacity)
{
    return {static_cast<std::byte*>(buffer), buffer ? static_cast<std::size_t>(capacity) : 0};
}

CopyOutcome copyResponse(clSyncMthdReqrSrv& call, std::uint64_t uuid, const TextBuffer& buffer)
{
    if (!call.hasResponse()) {
        if (call.hasUsedRoom())
            *buffer.data = '\0';
        return {};
    }
    if (buffer.data == nullptr)
        return {ZEL_OK, call.responseData().size(), false};
    const CopyOutcome copied = copyText(call.responseData(), buffer.data, buffer.capacity);
    if (copied.mustKeep)
        dataStore().put(uuid, call.takeResponse());
    return copied;
}

} // namespace

std::int32_t sendForText(const RemoteModule& module, wire::MethodId method, std::string request,
                         const TextBuffer& buffer)
{
    if (buffer.capacity != 0 && (buffer.data == nullptr || buffer.length == nullptr))
        return ZEL_SYS_BAD_PARAMETER;
    CopyOutcome copied;
    const auto exchange = [&](clSyncMthdReqrSrv& call) {
        const std::int32_t called = call.execute();
        copied = copyResponse(call, module.uuid, buffer);
        return firstOf(copied.result, called);
    };
    // One byte is the text's end.
    const MutableBytes room = roomOf(buffer.data, std::max<std::uint64_t>(buffer.capacity, 1) - 1);
    const std::int32_t result = withCall(module, method, std::move(request), room, exchange);
    if (buffer.length != nullptr)
        *buffer.length = copied.length;
    return result;
}

std::int32_t sendForBytes(const RemoteModule& module, wire::MethodId method, std::string request,
                          void* buffer, std::uint64_t capacity, std::uint64_t& received)
{
    received = 0;
    const auto exchange = [&](clSyncMthdReqrSrv& call) {
        const std::int32_t called = call.execute();
        if (hasFailed(called))
            return called;
        const CopyOutcome copied = copyBytes(call.responseData(), buffer, capacity);
        received = copied.length;
        return firstOf(copied.result, called);
    };
    return withCall(module, method, std::move(request), roomOf(buffer, capacity), exchange);
}

std::int32_t send(const RemoteModule& module, wire::MethodId method, std::string request)
{
    return withCall(module, method, std::move(request), {},
                    [](clSyncMthdReqrSrv& call) { return call.execute(); });
}

Response sendForResponse(const RemoteModule& module, wire::MethodId method, std::string request)
{
    Response response;
    response.result =
        withCall(module, method, std::move(request), {}, [&](clSyncMthdReqrSrv& call) {
            const std::int32_t result = call.execute();
            if (call.hasResponse())
                response.telegram = call.takeResponse();
            return result;
        });
    return response;
}

std::int32_t sendForDocument(const RemoteModule& module, wire::MethodId method, std::string request,
                             clResponseDocument& document)
{
    const Response response = sendForResponse(module, method, std::move(request));
    return hasFailed(response.result)
               ? response.result
               : firstOf(response.result, document.parse(response.payload()));
}

std::int32_t sendForFile(const RemoteModule& module, wire::MethodId method, std::string request,
                         const char* fileName)
{
    clHostFileWriter file{hostPath(fileName)};
    if (!file.isOpen())
        return ZEL_FILE_OPEN;
    const Response response = sendForResponse(module, method, std::move(request));
    if (hasFailed(response.result))
        return response.result;
    const Bytes text = response.payload();
    return firstOf(response.result, file.write(text.data(), text.size()));
}

} // namespace zel
