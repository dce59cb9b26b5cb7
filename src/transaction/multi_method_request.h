#pragma once

#include "method_request.h"

#include <atomic>

namespace zel {

/// Gets what comes of a request to several modules. Called on the event loop's thread under the
/// requestor's lock: short, and leaf locks only.
class iMultiMthdFunctor {
public:
    virtual ~iMultiMthdFunctor() = default;

    /// One module has answered; `data` lives as long as the call.
    virtual void responded(std::int32_t result, Bytes data, std::uint32_t context,
                           const TransactionSource& source) = 0;
    /// An answer was none, or the request as a whole has ended; then the source is empty.
    virtual void failed(std::int32_t result, const TransactionSource& source) = 0;
};

/// A method request to all modules. It owns itself: it takes answers until its time is over or the
/// library is unloaded, and deletes itself when that has come and it has been sent.
class clMultiMthdReqrSrv final : public clMthdReqrSrv {
public:
    /// Sends the request; nobody has to care for it any more, whether it left or not. `way` must
    /// live until this has returned. May throw std::bad_alloc.
    static void start(const MethodAddress& address, std::string requestData,
                      std::unique_ptr<iMultiMthdFunctor> functor, std::uint32_t context,
                      iRequestorContext& way, sys::EventLoop& loop);

    void completed(std::int32_t result) override;
    void delivered(std::unique_ptr<clRxTelContainer> response,
                   const TransactionSource& source) override;

private:
    clMultiMthdReqrSrv(const MethodAddress& address, std::unique_ptr<iMultiMthdFunctor> functor,
                       std::uint32_t context, iRequestorContext& way, sys::EventLoop& loop);
    /// The last to give it up deletes it: the sending thread, or whoever completes it. Its time may
    /// be over before the sending thread is through.
    struct GiveUp {
        void operator()(clMultiMthdReqrSrv* request) const;
    };
    ~clMultiMthdReqrSrv() override;

    void receiveResponse(std::unique_ptr<clRxTelContainer> response,
                         const TransactionSource& source);

    const std::unique_ptr<iMultiMthdFunctor> m_functor; // may be null
    const std::uint32_t m_context;
    std::atomic<int> m_holders{2};
};

} // namespace zel
