#pragma once

#include "byte_cursor.h"
#include "requestor_base.h"

#include <functional>

namespace zel {

/// Lets one datagram leave, with one whole telegram in it: 0, or a result code when it did not
/// leave.
using SendDatagram = std::function<std::int32_t(Bytes telegram)>;

/// A transaction by datagrams, with one module or with all of them. It takes every answer of the
/// broadcast node's, and ends well when its time is over; one module answers once, and not
/// answering in time is ZEL_TRANS_TIMEOUT_RESPONSE. Request and answers fit into one datagram each.
class clRequestorBroadcast final : public clRequestorBase {
public:
    static constexpr std::uint32_t kAnswerMs = 3000;
    static constexpr std::size_t kLargestDatagram = 65507;

    /// `way` is used until send() has returned.
    clRequestorBroadcast(std::uint64_t target, sys::EventLoop& loop, const SendDatagram& way);

    bool matches(const TransactionSource& source, const TransactionHeader& header) const override;
    std::int32_t send(std::shared_ptr<const clTxTelContainer> payload,
                      std::shared_ptr<iTransactionOwner> owner) override;
    void onTimeout() override;
    void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                 const TransactionSource& source) override;

private:
    bool isForAll() const { return target() == kBroadcastNode; }

    // sending thread only
    const SendDatagram& m_way;
};

} // namespace zel
