#pragma once

#include "method_request.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zel {

/// Gets what comes of a request to several modules. Called on the event loop's thread under the
/// requestor's lock: short, and leaf locks only.
class iMultiMthdFunctor {
public:
    virtual ~iMultiMthdFunctor() = default;

    /// One module has answered; `data` lives as long as the call.
    virtual void responded(std::int32_t result, Bytes data, std::uint32_t context,
                           const TransactionSource& source) = 0;
    /// An answer was not valid, or the request as a whole has ended; then the source is empty.
    virtual void failed(std::int32_t result, const TransactionSource& source) = 0;
};

/// A method request to all modules. It takes answers until its time is over or the library is
/// unloaded, and lives as long: its transaction holds it.
class clMultiMthdReqrSrv final : public iTransactionOwner {
public:
    /// Sends the request; nobody has to look after it, whether it left or not. `way` must
    /// live until this has returned. May throw std::bad_alloc.
    static void start(const MethodAddress& address, std::string requestData,
                      std::unique_ptr<iMultiMthdFunctor> functor, std::uint32_t context,
                      iRequestorContext& way);

    clMultiMthdReqrSrv(const MethodAddress& address, std::unique_ptr<iMultiMthdFunctor> functor,
                       std::uint32_t context, iRequestorContext& way);

    void delivered(std::unique_ptr<clRxTelContainer> response,
                   const TransactionSource& source) override;
    void completed(std::int32_t result) override;

private:
    clMthdReqrSrv m_call;
    const std::unique_ptr<iMultiMthdFunctor> m_functor; // may be null
    const std::uint32_t m_context;
};

} // namespace zel
