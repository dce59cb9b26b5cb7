#pragma once

#include "method_request.h"

#include <memory>

namespace zel {

/// A method call that blocks its caller until the response, a failure or a time-out. It is tried
/// once more when the module acknowledged the request but did not answer in time. What it leaves
/// behind when it fails is in the message store.
///
/// Used by one thread. The constructor throws std::runtime_error when the call cannot be made.
class clSyncMthdReqrSrv {
public:
    clSyncMthdReqrSrv(const MethodAddress& address, std::string requestData,
                      const RequestPath& path);

    /// Sends and waits; the module's result or the failure's code.
    std::int32_t execute();

    bool hasResponse() const { return m_response != nullptr; }
    /// The response data behind the header; empty without a response.
    Bytes responseData() const;
    std::unique_ptr<clRxTelContainer> takeResponse() { return std::move(m_response); }

private:
    std::int32_t attempt(iRequestorContext& context);
    void storeMessage() const;

    const MethodAddress m_address;
    const RequestPath m_path;
    const std::shared_ptr<const clTxTelContainer> m_request;
    std::unique_ptr<clRxTelContainer> m_response;
};

} // namespace zel
