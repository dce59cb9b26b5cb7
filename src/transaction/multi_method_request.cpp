#include "multi_method_request.h"

#include "logger.h"
#include "text_handler.h"
#include "ZEL_VR_Framework.h"

namespace zel {

void clMultiMthdReqrSrv::start(const MethodAddress& address, std::string requestData,
                               TakeAnswer take, iRequestorContext& way)
{
    const auto request = std::make_shared<clMultiMthdReqrSrv>(address, std::move(take), way);
    const std::int32_t result =
        request->m_call.sendRequest(makeMethodRequest(address, std::move(requestData)), request);
    if (result != ZEL_OK)
        request->completed(result);
}

clMultiMthdReqrSrv::clMultiMthdReqrSrv(const MethodAddress& address, TakeAnswer take,
                                       iRequestorContext& way)
    : m_call(address, way), m_take(std::move(take))
{
}

void clMultiMthdReqrSrv::completed(std::int32_t result)
{
    if (result != ZEL_OK)
        m_call.logFailure(result);
}

void clMultiMthdReqrSrv::delivered(std::unique_ptr<clRxTelContainer> response,
                                   const TransactionSource& source)
{
    const std::int32_t result = m_call.evalRespHeader(*response);
    m_take(result, response->payload(), source);
    if (result != ZEL_OK)
        logTransaction(LogLevel::info, [&] {
            return std::string{"clMultiMthdReqrSrv::receiveResponse(): "} + logText(result);
        });
}

} // namespace zel
