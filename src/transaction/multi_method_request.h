#pragma once

#include "method_request.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zel {

/// Takes one module's answer, for as long as the call lasts. Called on the event loop's thread
/// under the requestor's lock: short, and leaf locks only.
using TakeAnswer =
    std::function<void(std::int32_t result, Bytes data, const TransactionSource& source)>;

/// A method request to all modules. It takes answers until its time is over or the library is
/// unloaded, and lives as long: its transaction holds it.
class clMultiMthdReqrSrv final : public iTransactionOwner {
public:
    /// Sends the request; nobody has to look after it, whether it left or not. `way` must
    /// live until this has returned. May throw std::bad_alloc.
    static void start(const MethodAddress& address, std::string requestData, TakeAnswer take,
                      iRequestorContext& way);

    clMultiMthdReqrSrv(const MethodAddress& address, TakeAnswer take, iRequestorContext& way);

    void delivered(std::unique_ptr<clRxTelContainer> response,
                   const TransactionSource& source) override;
    void completed(std::int32_t result) override;

private:
    clMthdReqrSrv m_call;
    const TakeAnswer m_take;
};

} // namespace zel
