#include "sync_method_request.h"

#include "event_flag.h"
#include "last_error_stores.h"
#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

/// One attempt: what the event loop's thread delivers to the waiting one.
class Attempt final : public clMthdReqrSrv {
public:
    using clMthdReqrSrv::clMthdReqrSrv;
    ~Attempt() override { dropRequestor(); }

    void completed(std::int32_t result) override
    {
        logFailure(result);
        m_result = result;
        m_isOver.set();
    }

    void delivered(std::unique_ptr<clRxTelContainer> response, const TransactionSource&) override
    {
        m_result = evalRespHeader(*response);
        m_response = std::move(response);
        m_isOver.set();
    }

    std::int32_t execute()
    {
        sendRequestAndWait(m_isOver);
        return m_result;
    }
    std::unique_ptr<clRxTelContainer> takeResponse() { return std::move(m_response); }

private:
    // written before m_isOver is set, read after
    std::int32_t m_result = ZEL_OK;
    std::unique_ptr<clRxTelContainer> m_response;
    sys::EventFlag m_isOver;
};

} // namespace

clSyncMthdReqrSrv::clSyncMthdReqrSrv(const MethodAddress& address, std::string requestData,
                                     const RequestPath& path)
    : m_address(address),
      m_path(path),
      m_request(makeMethodRequest(address, std::move(requestData)))
{
}

std::int32_t clSyncMthdReqrSrv::execute()
{
    std::int32_t result = attempt(m_path.context);
    if (result == ZEL_TRANS_TIMEOUT_RESPONSE) {
        storeMessage();
        result = attempt(m_path.secondContext ? *m_path.secondContext : m_path.context);
    }
    if (result != ZEL_OK)
        storeMessage();
    return result;
}

std::int32_t clSyncMthdReqrSrv::attempt(iRequestorContext& context)
{
    Attempt call{m_address, m_path.loop, context};
    call.prepare(m_request);
    const std::int32_t result = call.execute();
    m_response = call.takeResponse();
    return result;
}

void clSyncMthdReqrSrv::storeMessage() const
{
    const Bytes data = responseData();
    messageStore().put(m_address.uuid, {reinterpret_cast<const char*>(data.data()), data.size()});
}

Bytes clSyncMthdReqrSrv::responseData() const
{
    return m_response ? m_response->payload() : Bytes{};
}

} // namespace zel
