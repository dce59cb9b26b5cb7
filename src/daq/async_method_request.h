#pragma once

#include "event_flag.h"
#include "method_request.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace zel {

/// Where a caller wants the block of an asynchronous read; his until the read is over.
struct AsyncBuffer {
    void* data;
    std::uint64_t size;      // in bytes; a block of exactly this size fits
    std::uint64_t* received; // gets the length of the reply's data, also when they do not fit
};

/// A call for a block of measured values that nobody waits for while it is sent. Its transaction
/// holds it; what comes is written to the caller's buffer until he gives the read up.
class clAsyncMthdReqrSrv final : public iTransactionOwner,
                                 public std::enable_shared_from_this<clAsyncMthdReqrSrv> {
public:
    clAsyncMthdReqrSrv(const MethodAddress& address, const AsyncBuffer& buffer,
                       iRequestorContext& context);

    void delivered(std::unique_ptr<clRxTelContainer> response,
                   const TransactionSource& source) override;
    void completed(std::int32_t result) override;
    std::unique_ptr<clRxTelContainer> placeFor(std::size_t size) override;

    std::optional<std::uint16_t> label() const { return m_call.label(); }
    /// What stands in its way is its result.
    void send(std::shared_ptr<const clTxTelContainer> request);
    /// The buffer is the caller's again when it has returned.
    void giveUp() { m_call.giveUp(); }

    /// The result, or ZEL_UTIL_WAIT_TIMEOUT.
    std::int32_t wait(std::uint32_t milliseconds);

private:
    clMthdReqrSrv m_call;
    const AsyncBuffer m_buffer;

    // written before m_isOver is set, read after
    std::int32_t m_result = 0;
    sys::EventFlag m_isOver;
};

} // namespace zel
