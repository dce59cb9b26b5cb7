#pragma once

#include "event_flag.h"
#include "method_request.h"

namespace zel {

/// Where a caller wants the block of an asynchronous read; his until the read is over.
struct AsyncBuffer {
    void* data;
    std::uint64_t size;      // in bytes; a block of exactly this size fits
    std::uint64_t* received; // gets the length of the reply's data, also when they do not fit
};

/// A call for a block of measured values that nobody waits for while it is sent. It writes to the
/// caller's buffer inside the event loop's callbacks, and never after it was destroyed.
class clAsyncMthdReqrSrv final : public clMthdReqrSrv {
public:
    clAsyncMthdReqrSrv(const MethodAddress& address, const AsyncBuffer& buffer,
                       const RequestPath& path);
    ~clAsyncMthdReqrSrv() override;

    void completed(std::int32_t result) override;
    void delivered(std::unique_ptr<clRxTelContainer> response,
                   const TransactionSource& source) override;

    /// The result, or ZEL_UTIL_WAIT_TIMEOUT.
    std::int32_t wait(std::uint32_t milliseconds);
    /// Without a limit: the transaction's own ones end it.
    std::int32_t wait();

private:
    const AsyncBuffer m_buffer;

    // written before m_isOver is set, read after
    std::int32_t m_result = 0;
    sys::EventFlag m_isOver;
};

} // namespace zel
