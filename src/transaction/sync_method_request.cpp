#include "sync_method_request.h"

#include "event_flag.h"
#include "last_error_stores.h"
#include "ZEL_VR_Framework.h"

namespace zel {

namespace {

/// One attempt: what the thread that receives the answer leaves for the one that waits for it.
class Attempt final : public iTransactionOwner, public std::enable_shared_from_this<Attempt> {
public:
    Attempt(const MethodAddress& address, iRequestorContext& context, MutableBytes room)
        : m_call(address, context), m_room(room)
    {
    }

    std::unique_ptr<clRxTelContainer> placeFor(std::size_t size) override
    {
        auto place = zel::placeFor(size, m_room);
        m_hasUsedRoom = m_hasUsedRoom || place;
        return place;
    }

    void delivered(std::unique_ptr<clRxTelContainer> response, const TransactionSource&) override
    {
        m_result = m_call.evalRespHeader(*response);
        m_response = std::move(response);
        m_isOver.set();
    }

    void completed(std::int32_t result) override
    {
        m_call.logFailure(result);
        m_result = result;
        m_isOver.set();
    }

    std::int32_t execute(std::shared_ptr<const clTxTelContainer> request)
    {
        const std::int32_t result =
            m_call.sendRequestAndWait(std::move(request), shared_from_this(), m_isOver);
        if (result != ZEL_OK)
            completed(result);
        return m_result;
    }
    std::unique_ptr<clRxTelContainer> takeResponse() { return std::move(m_response); }
    bool hasUsedRoom() const { return m_hasUsedRoom; }

private:
    clMthdReqrSrv m_call;
    const MutableBytes m_room;

    // written before m_isOver is set, read after
    bool m_hasUsedRoom = false;
    std::int32_t m_result = ZEL_OK;
    std::unique_ptr<clRxTelContainer> m_response;
    sys::EventFlag m_isOver;
};

} // namespace

clSyncMthdReqrSrv::clSyncMthdReqrSrv(const MethodAddress& address, std::string requestData,
                                     const RequestPath& path, MutableBytes room)
    : m_address(address),
      m_path(path),
      m_request(makeMethodRequest(address, std::move(requestData))),
      m_room(room)
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
    const auto call = std::make_shared<Attempt>(m_address, context, m_room);
    const std::int32_t result = call->execute(m_request);
    m_response = call->takeResponse();
    m_hasUsedRoom = m_hasUsedRoom || call->hasUsedRoom();
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
