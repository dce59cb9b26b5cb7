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
    /// Response data that fit into `room` are received there.
    clSyncMthdReqrSrv(const MethodAddress& address, std::string requestData,
                      const RequestPath& path, MutableBytes room = {});

    /// Sends and waits; the module's result or the failure's code.
    std::int32_t execute();

    /// Whether a part of a response may be in the room though no response has come whole.
    bool hasUsedRoom() const { return m_hasUsedRoom; }
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
    const MutableBytes m_room;
    bool m_hasUsedRoom = false;
    std::unique_ptr<clRxTelContainer> m_response;
};

} // namespace zel
