#include "multi_method_request.h"

#include "text_handler.h"
#include "transaction_log.h"
#include "ZEL_VR_Framework.h"

namespace zel {

void clMultiMthdReqrSrv::start(const MethodAddress& address, std::string requestData,
                               std::unique_ptr<iMultiMthdFunctor> functor, std::uint32_t context,
                               iRequestorContext& way)
{
    const auto request =
        std::make_shared<clMultiMthdReqrSrv>(address, std::move(functor), context, way);
    request->m_call.prepare(makeMethodRequest(address, std::move(requestData)));
    const std::int32_t result = request->m_call.sendRequest(request);
    if (result != ZEL_OK)
        request->completed(result);
}

clMultiMthdReqrSrv::clMultiMthdReqrSrv(const MethodAddress& address,
                                       std::unique_ptr<iMultiMthdFunctor> functor,
                                       std::uint32_t context, iRequestorContext& way)
    : m_call(address, way), m_functor(std::move(functor)), m_context(context)
{
}

void clMultiMthdReqrSrv::completed(std::int32_t result)
{
    if (result != ZEL_OK)
        m_call.logFailure(result);
    if (m_functor)
        m_functor->failed(result, {});
}

void clMultiMthdReqrSrv::delivered(std::unique_ptr<clRxTelContainer> response,
                                   const TransactionSource& source)
{
    std::int32_t result = ZEL_POINTER_NULL;
    if (response) {
        result = m_call.evalRespHeader(*response);
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
