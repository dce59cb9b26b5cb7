#include "async_method_request.h"

#include "logger.h"
#include "ZEL_VR_Framework.h"

#include <cstring>
#include <string>

namespace zel {

namespace {

template <class Compose>
void log(Compose&& compose)
{
    logger().write(LogLevel::info, LogCategory::measurement,
                   [&] { return "ZEL_XDAQ_Async_GetMeasValBlock " + compose(); });
}

} // namespace

clAsyncMthdReqrSrv::clAsyncMthdReqrSrv(const MethodAddress& address, const AsyncBuffer& buffer,
                                       iRequestorContext& context)
    : m_call(address, context), m_buffer(buffer)
{
}

void clAsyncMthdReqrSrv::send(std::shared_ptr<const clTxTelContainer> request)
{
    const std::int32_t result = m_call.sendRequest(std::move(request), shared_from_this());
    if (result != ZEL_OK)
        completed(result);
}

void clAsyncMthdReqrSrv::delivered(std::unique_ptr<clRxTelContainer> response,
                                   const TransactionSource&)
{
    m_result = m_call.evalRespHeader(*response);
    const Bytes data = response->payload();
    *m_buffer.received = data.size();
    if (data.size() > m_buffer.size)
        m_result = ZEL_SRV_BUFFER_TOO_SMALL;
    else if (!data.empty() && data.data() != m_buffer.data)
        std::memcpy(m_buffer.data, data.data(), data.size());
    log([&] {
        return "(Response): Result=" + std::to_string(m_result) + ", " +
               std::to_string(data.size()) + " bytes of data";
    });
    m_isOver.set();
}

std::unique_ptr<clRxTelContainer> clAsyncMthdReqrSrv::placeFor(std::size_t size)
{
    return zel::placeFor(size, {static_cast<std::byte*>(m_buffer.data), m_buffer.size});
}

void clAsyncMthdReqrSrv::completed(std::int32_t result)
{
    m_call.logFailure(result);
    log([&] { return "(Failure): Result=" + std::to_string(result); });
    m_result = result;
    m_isOver.set();
}

std::int32_t clAsyncMthdReqrSrv::wait(std::uint32_t milliseconds)
{
    return m_isOver.waitFor(milliseconds) ? m_result : ZEL_UTIL_WAIT_TIMEOUT;
}

} // namespace zel
