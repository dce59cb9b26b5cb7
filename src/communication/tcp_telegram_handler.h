#pragma once

#include "frame.h"
#include "outgoing_queue.h"
#include "reception.h"
#include "socket_nonblocking.h"
#include "telegram_container.h"
#include "telegram_sender.h"
#include "transaction_header.h"
#include "transaction_listener.h"

#include <array>
#include <atomic>
#include <chrono>
#include <memory>

namespace zel {

/// One TCP connection to one module: cuts the incoming stream into telegrams, checks their frames
/// and hands transactions on; frames and sends what goes out. Owned by the connection table;
/// whoever sends holds it too, so that it outlives its use.
class clTcpTelHndlr : public iTelegramSender, public std::enable_shared_from_this<clTcpTelHndlr> {
public:
    clTcpTelHndlr(std::shared_ptr<communication::SocketNonblocking> socket, std::uint64_t peer,
                  std::uint64_t self, iTransactionHandler& transactions);

    /// Begins to receive; false when the event loop cannot watch the connection. Not under the
    /// table's lock: it calls into the loop.
    bool start();
    /// Ends the connection for good; senders wake up and fail. Nothing is received any more once it
    /// has returned, unless inside a callback. Not under the table's lock.
    void close();

    /// Sends one transaction telegram, or keeps it until it can leave. Never waits inside a
    /// callback; elsewhere at most 2.9 s, when too much is waiting already. A stream that is torn,
    /// or holds more than any module lets wait, ends the connection.
    int send(std::span<const Bytes> payload) override { return send(payload, nullptr); }
    std::uint64_t connectionId() const override { return m_id; }

    int sendAndWait(std::span<const Bytes> payload, sys::EventFlag& flag) override;

    using Clock = std::chrono::steady_clock;

    /// Whether the module is still there, as far as that can be told without asking it.
    enum class Life { heard, unknown, silent };
    Life life() const;
    bool hasHeardSince(Clock::time_point then) const { return m_heardAt.load() >= then; }

    std::uint64_t peer() const { return m_peer; }
    /// See SocketNonblocking::peerName().
    const std::string& peerName() const { return m_socket->peerName(); }

private:
    void noteSending();
    void noteHearing();
    /// `wait`: of the sending thread, which receives nothing while it waits for room.
    int send(std::span<const Bytes> payload, communication::Reception::Wait* wait);
    communication::OutgoingQueue::Outcome putOrWait(std::span<const Bytes> parts, std::size_t size,
                                                    communication::Reception::Wait* wait);
    int onReady();
    int receiveTelegrams();
    int readStage(MutableBytes stage, std::size_t& received);
    void beginPayload();
    void findPlace();
    int readPayload();
    int finishTelegram(int count);

    // fixed at construction
    const std::shared_ptr<communication::SocketNonblocking> m_socket;
    const std::uint64_t m_id;
    const std::uint64_t m_peer;
    const std::uint64_t m_self;
    sys::EventLoop* const m_loop;
    iTransactionHandler& m_transactions;

    // inside the loop's callback only
    std::array<std::byte, kFrameHeaderSize> m_header;
    std::array<std::byte, kFrameTrailerSize> m_trailer;
    std::size_t m_headerReceived = 0;
    std::size_t m_payloadSize = 0;
    std::size_t m_payloadReceived = 0;
    // a short payload arrives whole; what a long one begins with tells where the rest belongs
    std::unique_ptr<clRxTelContainer> m_incoming;
    std::array<std::byte, TransactionHeader::kSize> m_front;
    std::shared_ptr<iPayloadPlace> m_place;
    bool m_isUnwanted = false;
    std::size_t m_trailerReceived = 0;

    // any thread
    std::atomic<bool> m_isClosed = false;
    std::atomic<Clock::time_point> m_heardAt = Clock::now(); // last, from the module itself
    std::atomic<Clock::time_point> m_askedAt{};              // first, since it was heard
    std::atomic<bool> m_isCountingSilence = false;
    communication::Reception m_reception;
    communication::OutgoingQueue m_outgoing; // uses m_socket
};

} // namespace zel
