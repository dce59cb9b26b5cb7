#pragma once

#include "requestor_base.h"
#include "telegram_container.h"
#include "telegram_sender.h"

#include <array>
#include <chrono>
#include <memory>

namespace zel {

/// Finds the connection of a module.
class iConnectionFinder {
public:
    virtual ~iConnectionFinder() = default;
    /// Null when the module is not connected.
    virtual std::shared_ptr<iTelegramSender> senderTo(std::uint64_t uuid) = 0;
};

/// A transaction with one module over its connection: cuts what is too long for a telegram into
/// segments, puts a segmented response together, waits as long as the module asks for.
///
/// A thread that waits for it receives on the connection itself where it can.
class clRequestorTrans final : public clRequestorBase {
public:
    static constexpr std::size_t kMaxUnsegmented = 65535;
    static constexpr std::size_t kSegmentSize = 61440;
    /// The most that a module gets by asking for time, for taking a request in segments, and for
    /// sending a response in segments.
    static constexpr std::uint32_t kLongestMs = 60 * 60 * 1000;
    /// In a row; each gives the module its time for a segment anew.
    static constexpr unsigned kMostEmptySegments = 20;

    clRequestorTrans(std::uint64_t target, iTransactionOwner& owner, sys::EventLoop& loop,
                     iConnectionFinder& connections);

    bool matches(const TransactionSource& source, const TransactionHeader& header) const override;
    void send(std::shared_ptr<const clTxTelContainer> payload) override;
    void wait(sys::EventFlag& isOver) override;
    void onTimeout(bool expired) override;
    void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                 const TransactionSource& source) override;

private:
    enum class State : std::uint32_t {
        sendingSegments = 2,
        waitingForAcknowledge = 3,
        waitingForResponse = 4,
        receivingSegments = 5,
    };

    /// What a telegram of the module's is answered with; the request that it is a piece of is held.
    struct Reply {
        TransactionType type;
        std::array<Bytes, 2> payload;
        std::shared_ptr<const clTxTelContainer> request;
        bool isLast; // the response is complete
    };
    using MaybeReply = std::optional<Reply>;

    int sendTelegram(iTelegramSender& sender, TransactionType type, std::array<Bytes, 2> payload);
    MaybeReply takeLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                          const TransactionSource& source);
    MaybeReply nextSegmentLocked();
    MaybeReply acknowledgedLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                                  const TransactionSource& source);
    MaybeReply respondedLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                               const TransactionSource& source);
    MaybeReply beginResponseLocked(Bytes payload);
    MaybeReply takeSegmentLocked(Bytes segment);
    MaybeReply acknowledgeSegmentLocked();

    /// A connection that the sending thread receives on; ended at the latest with this object.
    class Reception {
    public:
        Reception() = default;
        ~Reception() { end(); }
        Reception(const Reception&) = delete;
        Reception& operator=(const Reception&) = delete;

        void begin(const std::shared_ptr<iTelegramSender>& sender);
        void receiveUntil(const sys::EventFlag& flag);
        void end();

    private:
        std::shared_ptr<iTelegramSender> m_sender; // null while it is not begun
    };

    // sending thread only
    iConnectionFinder& m_connections;
    Reception m_reception;

    // under the lock from send() on
    // Not held: whoever does not collect an answer must not keep a closed connection's socket.
    std::weak_ptr<iTelegramSender> m_sender;
    State m_state = State::waitingForAcknowledge;
    std::shared_ptr<const clTxTelContainer> m_request;
    std::size_t m_sent = 0;
    std::unique_ptr<clRxTelContainer> m_response;
    std::size_t m_expected = 0;
    std::size_t m_received = 0;
    unsigned m_emptySegments = 0;
    std::chrono::steady_clock::time_point m_segmentsEnd; // of the request, then of the response
};

} // namespace zel
