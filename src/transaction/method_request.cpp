#include "method_request.h"

#include "logger.h"
#include "method_header.h"
#include "text_handler.h"
#include "text_stream.h"
#include "ZEL_VR_Framework.h"

#include <exception>

namespace zel {

std::shared_ptr<const clTxTelContainer> makeMethodRequest(const MethodAddress& address,
                                                          std::string requestData)
{
    return std::make_shared<const clTxTelContainer>(
        MethodRequestHeader{address.method.service, address.method.method}.encode(),
        std::move(requestData));
}

std::unique_ptr<clRxTelContainer> placeFor(std::size_t size, MutableBytes room)
{
    constexpr std::size_t kFront = MethodResponseHeader::kSize;
    // An answer without data needs no place, and there may be none.
    if (size <= kFront || size - kFront > room.size())
        return nullptr;
    return std::make_unique<clRxTelContainer>(kFront, room.first(size - kFront));
}

clMthdReqrSrv::clMthdReqrSrv(const MethodAddress& address, iRequestorContext& context)
    : m_address(address), m_requestor(context.createRequestor(address.uuid))
{
}

std::int32_t clMthdReqrSrv::sendRequest(std::shared_ptr<const clTxTelContainer> request,
                                        std::shared_ptr<iTransactionOwner> owner)
{
    return sending(request.get(),
                   [&] { return m_requestor->send(std::move(request), std::move(owner)); });
}

std::int32_t clMthdReqrSrv::sendRequestAndWait(std::shared_ptr<const clTxTelContainer> request,
                                               std::shared_ptr<iTransactionOwner> owner,
                                               sys::EventFlag& isOver)
{
    return sending(request.get(), [&] {
        return m_requestor->sendAndWait(std::move(request), std::move(owner), isOver);
    });
}

template <class Send>
std::int32_t clMthdReqrSrv::sending(const clTxTelContainer* request, Send&& send) const
{
    if (!request) {
        logTransaction(LogLevel::warning, [] {
            return std::string{"clMthdReqrSrv::sendRequest(): "} + logText(ZEL_SRV_NO_TELEGRAM);
        });
        return ZEL_SRV_NO_TELEGRAM;
    }
    logTransaction(LogLevel::info, [&] {
        return logName("tx: REQ", "to") + " DatLen: " + std::to_string(request->dataSize());
    });
    try {
        return send();
    } catch (const std::exception&) {
        m_requestor->detach();
        return ZEL_SYS_NO_OBJECT;
    }
}

std::string clMthdReqrSrv::logName(const char* direction, const char* preposition) const
{
    TextStream text;
    text << "Srv     : " << direction << " (id=" << label().value_or(0) << ") " << preposition
         << " UUID: " << std::hex << m_address.uuid << std::dec << " "
         << wire::logName(m_address.method);
    return text.str();
}

std::int32_t clMthdReqrSrv::evalRespHeader(clRxTelContainer& response) const
{
    ByteReader in{response.payload()};
    const auto header = MethodResponseHeader::decode(in).value_or(MethodResponseHeader{});
    response.takeOff(MethodResponseHeader::kSize);
    logTransaction(LogLevel::info, [&] {
        return logName("rx: RESP", "from") + " Result: " + std::to_string(header.result) +
               " DatLen: " + std::to_string(response.payload().size());
    });
    if (wire::MethodId{header.service, header.method} == m_address.method)
        return header.result;
    logTransaction(LogLevel::warning, [] {
        return std::string{"clMthdReqrSrv::evalRespHeader(): "} +
               logText(ZEL_SRV_RESPONSE_MISMATCH);
    });
    return ZEL_SRV_RESPONSE_MISMATCH;
}

void clMthdReqrSrv::logFailure(std::int32_t result) const
{
    logTransaction(LogLevel::info, [&] {
        return logName("rx: RESP", "from") + " Failure: " + std::to_string(result);
    });
}

} // namespace zel
