#pragma once

#include "methods.h"
#include "requestor_context.h"
#include "telegram_container.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zel {

struct MethodAddress {
    std::uint64_t uuid = 0;
    wire::MethodId method;
};

/// The way that a service's requests take. The retry after a response time-out takes the second
/// context where there is one.
struct RequestPath {
    iRequestorContext& context;
    sys::EventLoop& loop;
    iRequestorContext* secondContext = nullptr;
};

/// The request's payload: the method header and the data, which is taken over as it is.
std::shared_ptr<const clTxTelContainer> makeMethodRequest(const MethodAddress& address,
                                                          std::string requestData);

/// One call of a method of a module: builds the request, checks the response's header, logs both.
class clMthdReqrSrv : public iTransactionOwner {
public:
    clMthdReqrSrv(const MethodAddress& address, sys::EventLoop& loop, iRequestorContext& context);
    ~clMthdReqrSrv() override;
    clMthdReqrSrv(const clMthdReqrSrv&) = delete;
    clMthdReqrSrv& operator=(const clMthdReqrSrv&) = delete;

    void prepare(std::shared_ptr<const clTxTelContainer> request);

    /// Sends what was prepared; completes with ZEL_SRV_NO_TELEGRAM when nothing was. The outcome
    /// may come before this returns: ZEL_SYS_NO_OBJECT where there is no memory to send it.
    void sendRequest();

    /// Sends, and waits until `isOver` is set, as a callback of the derived class must do.
    void sendRequestAndWait(sys::EventFlag& isOver);

    std::uint16_t label() const { return m_requestor->label(); }

protected:
    /// Takes the response header off, checks it and answers the module's result.
    std::int32_t evalRespHeader(clRxTelContainer& response);
    void logFailure(std::int32_t result) const;
    /// No callback comes after it has returned. A derived class calls it in its destructor, so that
    /// the requestor goes before what it signals.
    void dropRequestor() { m_requestor->retire(); }

    const MethodAddress m_address;

private:
    std::string logName(const char* direction, const char* preposition) const;

    std::shared_ptr<const clTxTelContainer> m_request;
    const std::shared_ptr<clRequestorBase> m_requestor;
};

} // namespace zel
