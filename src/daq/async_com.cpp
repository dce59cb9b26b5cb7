#include "async_com.h"

#include "logger.h"
#include "measured_values.h"
#include "ZEL_VR_Framework.h"

#include <string>

namespace zel {

namespace {

template <class Compose>
void log(Compose&& compose)
{
    logger().write(LogLevel::info, LogCategory::measurement, compose);
}

} // namespace

std::int32_t clAsyncCom::startBlock(std::uint64_t uuid, const AsyncBuffer& buffer,
                                    std::uint32_t& handle)
{
    const MethodAddress address{uuid, wire::MeasurementMethod::readBlock};
    auto data = makeMethodRequest(address, daq::blockRequest(buffer.size));
    const auto request = std::make_shared<clAsyncMthdReqrSrv>(address, buffer, m_context);
    if (!request->label())
        return ZEL_SYS_NO_OBJECT;
    const std::uint32_t label = *request->label();
    {
        const std::lock_guard lock{m_mutex};
        auto& pending = m_pending[label];
        if (pending)
            pending->giveUp();
        pending = request;
        request->send(std::move(data));
    }
    handle = label;
    log([&] { return "ZEL_XDAQ_Async_GetMeasValBlock (Request) Handle=" + std::to_string(label); });
    return ZEL_OK;
}

std::int32_t clAsyncCom::read(std::uint32_t handle, std::uint32_t milliseconds)
{
    const auto name = [&] {
        return "ZEL_XCOM_Async_ReadData (Handle=" + std::to_string(handle) + ")";
    };
    log([&] { return name() + " start"; });
    std::int32_t result = ZEL_INDEX_OUT_OF_RANGE;
    {
        const std::lock_guard lock{m_mutex};
        if (const auto found = m_pending.find(handle); found != m_pending.end()) {
            clAsyncMthdReqrSrv& request = *found->second;
            result = request.wait(milliseconds);
            request.giveUp();
            m_pending.erase(found);
        }
    }
    log([&] { return name() + " finished: Result=" + std::to_string(result); });
    return result;
}

} // namespace zel
