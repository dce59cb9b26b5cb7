#include "multi_method_request.h"

#include "text_handler.h"
#include "transaction_log.h"
#include "ZEL_VR_Framework.h"

namespace zel {

clMultiMthdReqrSrv::clMultiMthdReqrSrv(const MethodAddress& address,
                                       std::unique_ptr<iMultiMthdFunctor> functor,
                                       std::uint32_t context, iRequestorContext& way,
                                       sys::EventLoop& loop)
    : clMthdReqrSrv(address, loop, way), m_functor(std::move(functor)), m_context(context)
{
}

clMultiMthdReqrSrv::~clMultiMthdReqrSrv()
{
    dropRequestor();
}

void clMultiMthdReqrSrv::start(const MethodAddress& address, std::string requestData,
                               std::unique_ptr<iMultiMthdFunctor> functor, std::uint32_t context,
                               iRequestorContext& way, sys::EventLoop& loop)
{
    auto telegram = makeMethodRequest(address, std::move(requestData));
    const std::unique_ptr<clMultiMthdReqrSrv, GiveUp> request{
        new clMultiMthdReqrSrv(address, std::move(functor), context, way, loop)};
    request->prepare(std::move(telegram));
    request->sendRequest();
}

void clMultiMthdReqrSrv::GiveUp::operator()(clMultiMthdReqrSrv* request) const
{
    if (request->m_holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete request;
}

void clMultiMthdReqrSrv::completed(std::int32_t result)
{
    if (result != ZEL_OK)
        logFailure(result);
    if (m_functor)
        m_functor->failed(result, {});
    GiveUp{}(this);
}

void clMultiMthdReqrSrv::delivered(std::unique_ptr<clRxTelContainer> response,
                                   const TransactionSource& source)
{
    receiveResponse(std::move(response), source);
}

void clMultiMthdReqrSrv::receiveResponse(std::unique_ptr<clRxTelContainer> response,
                                         const TransactionSource& source)
{
    std::int32_t result = ZEL_POINTER_NULL;
    if (response) {
        result = evalRespHeader(*response);
        if (m_functor)
            m_functor->responded(result, response->payload(), m_context, source);
    } else if (m_functor) {
        m_functor->failed(result, source);
    }
    if (result != ZEL_OK)
        logTransaction(LogLevel::info, [&] {
            return std::string{"clMultiMthdReqrSrv::receiveResponse(): "} + logText(result);
        });
}

} // namespace zel
