#pragma once

#include "answer_transfer.h"
#include "frame.h"
#include "request_assembler.h"
#include "telegram_cutter.h"
#include "telegram_outlet.h"

#include <array>
#include <deque>
#include <map>
#include <memory>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

namespace zel::simulator {

class ModuleCore;

/// One host's TCP connection, as the module holds it: reads telegrams, answers the address
/// exchange, puts requests together and sends what comes of them. Simulator's thread only.
class ModuleConnection : public TelegramOutlet,
                         public std::enable_shared_from_this<ModuleConnection> {
public:
    ModuleConnection(asio::ip::tcp::socket socket, ModuleCore& module, std::uint64_t number);

    /// Counts the module's connections from 1 on.
    std::uint64_t number() const { return m_number; }

    void start();
    /// Ends the connection in order. The core forgets it, if it has not yet.
    void close();
    void reset() override;
    void resumeReading();

    asio::any_io_executor executor() override { return m_socket.get_executor(); }
    void send(OutgoingTelegram telegram) override;
    void finished(const AnswerTransfer& transfer) override;

private:
    void read();
    bool mayRead();
    void consume(std::size_t size);
    void handleTelegram(const FrameHeader& header, Bytes payload);
    void handleAddressRequest(Bytes payload);
    void answerAddressRequest(std::uint16_t label, const std::optional<Fault>& fault);
    void handleTransaction(std::uint64_t source, Bytes payload);
    void handleSegment(const TransactionHeader& header, TransactionKey key, Bytes piece);
    void handleRequest(std::uint64_t destination, TransactionKey key, std::string_view bytes,
                       bool segmented);
    void acknowledgeSegment(TransactionKey key);

    void writeNext();
    void writeBytesSingly(std::size_t position);
    void wrote();

    ModuleCore& m_module; // outlives every connection
    const std::uint64_t m_number;
    asio::ip::tcp::socket m_socket;
    asio::steady_timer m_gap;
    bool m_isOpen = true;

    std::array<std::byte, 65536> m_chunk;
    bool m_isReading = false;
    std::size_t m_parked = 0; // bytes of m_chunk that came in although reading was stopped
    TelegramCutter m_incoming;
    RequestAssembler m_requests;

    std::map<TransactionKey, std::shared_ptr<AnswerTransfer>> m_transfers;
    std::deque<OutgoingTelegram> m_outgoing;
    std::size_t m_outgoingBytes = 0;
    bool m_isWriting = false;
};

} // namespace zel::simulator
