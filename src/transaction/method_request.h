#pragma once

#include "methods.h"
#include "requestor_context.h"
#include "telegram_container.h"

#include <cstdint>
#include <memory>
#include <optional>
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
    iRequestorContext* secondContext = nullptr;
};

/// A module that is asked for something, and the way that the requests to it take.
struct RemoteModule {
    RequestPath path;
    std::uint64_t uuid;
};

/// Where a response of `size` bytes whose data go to `room` is put together; null where they do
/// not fit.
std::unique_ptr<clRxTelContainer> placeFor(std::size_t size, MutableBytes room);

/// The request's payload: the method header and the data, which is taken over as it is.
std::shared_ptr<const clTxTelContainer> makeMethodRequest(const MethodAddress& address,
                                                          std::string requestData);

/// One call of a method of a module: sends the request, checks the response's header, logs both.
/// Belongs to the owner of the transaction, who is told what comes of it.
class clMthdReqrSrv {
public:
    clMthdReqrSrv(const MethodAddress& address, iRequestorContext& context);
    clMthdReqrSrv(const clMthdReqrSrv&) = delete;
    clMthdReqrSrv& operator=(const clMthdReqrSrv&) = delete;

    /// See clRequestorBase::send(). ZEL_SRV_NO_TELEGRAM without a request, ZEL_SYS_NO_OBJECT where
    /// there is no memory to send it.
    std::int32_t sendRequest(std::shared_ptr<const clTxTelContainer> request,
                             std::shared_ptr<iTransactionOwner> owner);
    /// The same, and waits until `isOver` is set, as the owner must do when he is called back.
    std::int32_t sendRequestAndWait(std::shared_ptr<const clTxTelContainer> request,
                                    std::shared_ptr<iTransactionOwner> owner,
                                    sys::EventFlag& isOver);
    /// The owner leaves: see clRequestorBase::detach().
    void giveUp() { m_requestor->detach(); }

    /// What tells it apart from all others under way; nothing when it cannot be sent.
    std::optional<std::uint16_t> label() const { return m_requestor->label(); }

    /// Takes the response header off, checks it and answers the module's result.
    std::int32_t evalRespHeader(clRxTelContainer& response) const;
    void logFailure(std::int32_t result) const;

private:
    /// What throws has not been sent.
    template <class Send>
    std::int32_t sending(const clTxTelContainer* request, Send&& send) const;
    std::string logName(const char* direction, const char* preposition) const;

    const MethodAddress m_address;
    const std::shared_ptr<clRequestorBase> m_requestor;
};

} // namespace zel
