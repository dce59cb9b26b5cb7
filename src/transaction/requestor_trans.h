#pragma once

#include "requestor_base.h"
#include "telegram_container.h"
#include "telegram_sender.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>

namespace zel {

/// A transaction with one module over its connection: cuts what is too long for a telegram into
/// segments, puts a segmented response together, waits as long as the module asks for.
///
/// A thread that waits for it receives on the connection itself where it can.
class clRequestorTrans final : public clRequestorBase, private iPayloadPlace {
public:
    static constexpr std::size_t kMaxUnsegmented = 65535;
    static constexpr std::size_t kSegmentSize = 61440;
    /// The most that a module gets by asking for time, for taking a request in segments, and for
    /// sending a response in segments.
    static constexpr std::uint32_t kLongestMs = 60 * 60 * 1000;
    /// In a row; each gives the module its time for a segment anew.
    static constexpr unsigned kMostEmptySegments = 20;

    /// Without a connection to the module there is no sender: ZEL_CONN_UNKNOWN_UUID when it sends.
    clRequestorTrans(std::uint64_t target, sys::EventLoop& loop,
                     const std::shared_ptr<iTelegramSender>& connection);

    bool matches(const TransactionSource& source, const TransactionHeader& header) const override;
    std::int32_t send(std::shared_ptr<const clTxTelContainer> payload,
                      std::shared_ptr<iTransactionOwner> owner) override;
    std::int32_t sendAndWait(std::shared_ptr<const clTxTelContainer> payload,
                             std::shared_ptr<iTransactionOwner> owner,
                             sys::EventFlag& isOver) override;
    void onTimeout() override;
    void receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                 const TransactionSource& source) override;
    std::shared_ptr<iPayloadPlace> placeFor(TransactionType type, std::size_t size,
                                            const TransactionSource& source) override;

private:
    enum class State : std::uint32_t {
        sendingSegments = 2,
        waitingForAcknowledge = 3,
        waitingForResponse = 4,
        receivingSegments = 5,
    };
    /// What a telegram of the module's is answered with, and what must live until that has left.
    struct Reply {
        TransactionType type;
        std::array<Bytes, 2> payload{};
        std::shared_ptr<const clTxTelContainer> request{}; // that the payload is a piece of
        std::unique_ptr<clRxTelContainer> response{};      // complete with what is acknowledged
    };
    using MaybeReply = std::optional<Reply>;

    std::int32_t start(const std::shared_ptr<const clTxTelContainer>& payload,
                       std::shared_ptr<iTransactionOwner> owner, sys::EventFlag* isOver);
    std::int32_t sendTelegram(iTelegramSender& connection, TransactionType type,
                              const std::array<Bytes, 2>& payload,
                              sys::EventFlag* waitFor = nullptr) const;
    void closeLocked() override;
    std::optional<int> readAt(std::size_t offset, const Read& read) override;
    void arrived() override;
    void answer(MaybeReply reply, const TransactionSource& source);
    MaybeReply takeLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                          const TransactionSource& source);
    MaybeReply nextSegmentLocked();
    MaybeReply acknowledgedLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                                  const TransactionSource& source);
    MaybeReply respondedLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                               const TransactionSource& source);
    MaybeReply beginResponseLocked(Bytes payload);
    MaybeReply takeSegmentLocked(Bytes segment);
    /// Memory for the next segment. Throws std::bad_alloc.
    void makeRoomLocked(std::size_t size);
    MaybeReply segmentTakenLocked(std::size_t size);
    MaybeReply acknowledgeSegmentLocked();

    // fixed at construction; a request that is over, but kept, does not keep its connection
    const std::weak_ptr<iTelegramSender> m_connection;

    // under the lock from start() on
    State m_state = State::waitingForAcknowledge;
    std::shared_ptr<const clTxTelContainer> m_request;
    std::size_t m_sent = 0;
    std::unique_ptr<clRxTelContainer> m_response;
    std::size_t m_expected = 0;
    std::size_t m_received = 0;
    unsigned m_emptySegments = 0;
    struct Arriving {
        TransactionType type = TransactionType::response;
        std::size_t size = 0;
        TransactionSource source;
    } m_arriving; // the telegram that is being read into its place
    std::chrono::steady_clock::time_point m_segmentsEnd; // of the request, then of the response
};

} // namespace zel
