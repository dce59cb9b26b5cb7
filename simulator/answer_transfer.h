#pragma once

#include "method_call.h"
#include "method_header.h"
#include "module_fault.h"
#include "module_settings.h"
#include "request_assembler.h"
#include "telegram_outlet.h"
#include "transaction_header.h"

#include <array>
#include <memory>
#include <optional>

#include <asio/steady_timer.hpp>

namespace zel::simulator {

/// Brings one answer to the host that asked: RESP_PEND where it takes long, then the response in
/// one telegram or in acknowledged segments. Lives on the simulator's thread; the outlet keeps it
/// until it reports itself finished, and drops it when the connection goes.
class AnswerTransfer : public std::enable_shared_from_this<AnswerTransfer> {
public:
    AnswerTransfer(std::weak_ptr<TelegramOutlet> outlet, asio::any_io_executor executor,
                   TransactionKey key, const ModuleSettings& settings);

    void start(MethodId id, MethodAnswer answer, std::optional<Fault> fault);
    /// The host has taken the announcement or a segment.
    void acknowledge();
    /// The outlet is gone, or the host uses the label again.
    void cancel();
    TransactionKey key() const { return m_key; }

private:
    bool has(FaultKind kind) const { return m_fault && m_fault->kind == kind; }
    bool isSegmented() const;
    std::optional<milliseconds> pendingTime() const;

    void sendPending(milliseconds time, bool cut);
    void respondAfter(milliseconds delay);
    void respond();
    void respondWhole();
    void announceSegments();
    void sendSegment();
    void sendOversizedSegment();
    void watchForAcknowledge();
    void finish();
    void end();
    template <class Action>
    void after(milliseconds time, Action action);

    using Parts = std::array<Bytes, 2>;
    std::size_t responseSize() const { return m_header.size() + m_answer.data.size(); }
    /// A piece of header and data as they leave one after the other.
    Parts piece(std::size_t first, std::size_t size) const;
    OutgoingTelegram compose(TransactionType type, const Parts& payload) const;
    void send(OutgoingTelegram telegram);

    const std::weak_ptr<TelegramOutlet> m_outlet;
    const TransactionKey m_key;
    const ModuleSettings& m_settings;

    asio::steady_timer m_timer;
    MethodAnswer m_answer;
    std::optional<Fault> m_fault;
    std::array<std::byte, MethodResponseHeader::kSize> m_header{};
    std::size_t m_sent = 0; // of header and data
    bool m_isWaitingForAcknowledge = false;
    bool m_isOver = false; // a timer's handler may already be on its way
};

} // namespace zel::simulator
