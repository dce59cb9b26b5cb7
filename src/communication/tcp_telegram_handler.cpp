#include "tcp_telegram_handler.h"

#include "hexadecimal_text.h"
#include "logger.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <utility>

namespace zel {

using Outcome = communication::OutgoingQueue::Outcome;

namespace {

// Within the time that a request has for the first sign from its module.
constexpr std::chrono::milliseconds kRoomLimit{2900};
// The system asks a module each second whether it is there.
constexpr std::chrono::milliseconds kShortSilence{1250};
// A system acknowledges what comes long before that.
constexpr std::chrono::milliseconds kQuickAnswer{250};
// Every telegram has to be answered within it.
constexpr std::chrono::milliseconds kLongSilence{3000};

// What is shorter mostly comes with its header in one read.
constexpr std::size_t kLongPayload = communication::SocketNonblocking::kReadAhead;

std::uint64_t nextConnectionId()
{
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

void logFrame(const FrameHeader& header, FrameDirection direction)
{
    logTransaction(LogLevel::info, [&] { return frameLogLine(header, direction); });
}

} // namespace

clTcpTelHndlr::clTcpTelHndlr(std::shared_ptr<communication::SocketNonblocking> socket,
                             std::uint64_t peer, std::uint64_t self,
                             iTransactionHandler& transactions)
    : m_socket(std::move(socket)),
      m_id(nextConnectionId()),
      m_peer(peer),
      m_self(self),
      m_loop(&m_socket->loop()),
      m_transactions(transactions),
      m_header(FrameHeader{.source = self}.encode()),
      m_trailer(encodeFrameTrailer()),
      m_reception(*m_loop),
      m_outgoing(*m_socket)
{
}

bool clTcpTelHndlr::start()
{
    return m_socket->setDataCb([weak = weak_from_this()](communication::SocketNonblocking&) {
        // Held until the callback is over, also when it reports the loss of this connection.
        const std::shared_ptr<clTcpTelHndlr> self = weak.lock();
        return self && !self->m_isClosed ? self->onReady() : -1;
    });
}

void clTcpTelHndlr::close()
{
    m_isClosed = true;
    m_outgoing.close();
    m_socket->retire();
}

void clTcpTelHndlr::noteSending()
{
    const Clock::time_point now = Clock::now();
    const Clock::time_point heardAt = m_heardAt;
    if (m_askedAt.load() <= heardAt)
        m_askedAt = now;
    if (now - heardAt < kShortSilence)
        return;
    m_isCountingSilence = true;
    m_socket->countSilence();
}

void clTcpTelHndlr::noteHearing()
{
    m_heardAt = Clock::now();
    if (m_isCountingSilence.load() && m_isCountingSilence.exchange(false))
        m_socket->countSilence();
}

clTcpTelHndlr::Life clTcpTelHndlr::life() const
{
    const Clock::time_point now = Clock::now();
    const Clock::time_point askedAt = m_askedAt;
    const auto told = m_socket->silence();
    Clock::time_point lastSign = m_heardAt;
    if (told)
        lastSign = std::max(lastSign, now - *told);
    const Clock::duration silence = now - lastSign;
    const Clock::duration unanswered = askedAt > lastSign ? now - askedAt : Clock::duration{0};
    if ((told ? silence : unanswered) >= kLongSilence)
        return Life::silent;
    const bool isHeard = silence < kShortSilence && unanswered < kQuickAnswer;
    return isHeard ? Life::heard : Life::unknown;
}

int clTcpTelHndlr::onReady()
{
    if (m_outgoing.goOn() == Outcome::torn) {
        m_transactions.connectionLost(*this);
        return -1;
    }
    int result = 0;
    try {
        result = receiveTelegrams();
    } catch (const std::exception&) {
        // A telegram is lost: what comes behind it cannot be trusted, and somebody waits for it.
    }
    if (result > 0) {
        noteHearing();
        // Whoever receives on a lent connection asks the system again: a read that finds nothing
        // can be spared.
        return m_reception.isLent() && !m_socket->hasBuffered() ? 0 : result;
    }
    if (result < 0) {
        using communication::native::Failure;
        const Failure failure = m_socket->lastFailure();
        if (failure == Failure::wouldBlock || failure == Failure::pending)
            return result;
        // The text is that of errno, whatever the socket's own error was.
        logTransaction(LogLevel::warning, [&, error = errno] {
            return "destroying telegram handler to " + hexadecimalText(m_peer) + " after error '" +
                   std::strerror(error) + "'";
        });
    }
    m_transactions.connectionLost(*this);
    return result;
}

int clTcpTelHndlr::readStage(MutableBytes stage, std::size_t& received)
{
    const int count = m_socket->receive(stage.subspan(received));
    if (count > 0)
        received += static_cast<std::size_t>(count);
    return count;
}

int clTcpTelHndlr::receiveTelegrams()
{
    int total = 0;
    while (m_headerReceived < m_header.size()) {
        const int count = readStage(m_header, m_headerReceived);
        if (count <= 0)
            return count;
        total += count;
        if (m_headerReceived == m_header.size())
            beginPayload();
    }
    while (m_payloadReceived < m_payloadSize) {
        const int count = readPayload();
        if (count <= 0)
            return count;
        total += count;
    }
    while (m_trailerReceived < m_trailer.size()) {
        const int count = readStage(m_trailer, m_trailerReceived);
        if (count <= 0)
            return count;
        total += count;
    }
    return finishTelegram(total);
}

void clTcpTelHndlr::beginPayload()
{
    const FrameHeader header = FrameHeader::decode(m_header);
    m_payloadSize = header.payloadLength;
    m_payloadReceived = 0;
    m_isUnwanted = false;
    m_place.reset();
    m_incoming.reset();
    const bool isLong = m_payloadSize >= kLongPayload && header.isValid() &&
                        header.type == TelegramType::transaction;
    if (!isLong)
        m_incoming = std::make_unique<clRxTelContainer>(m_payloadSize);
}

void clTcpTelHndlr::findPlace()
{
    m_place = m_transactions.placeFor(FrameHeader::decode(m_header).source, m_front,
                                      m_payloadSize - m_front.size(), *this);
    if (m_place)
        return;
    m_incoming = std::make_unique<clRxTelContainer>(m_payloadSize);
    m_incoming->write(0, m_front);
}

int clTcpTelHndlr::readPayload()
{
    if (m_incoming)
        return readStage(m_incoming->writable(), m_payloadReceived);
    if (m_payloadReceived < m_front.size()) {
        const int count = readStage(m_front, m_payloadReceived);
        if (m_payloadReceived == m_front.size())
            findPlace();
        return count;
    }
    const auto count = m_place->readAt(m_payloadReceived - m_front.size(),
                                       [this](MutableBytes at) { return m_socket->receive(at); });
    if (count) {
        m_payloadReceived += static_cast<std::size_t>(std::max(*count, 0));
        return *count;
    }
    m_isUnwanted = true;
    m_incoming = std::make_unique<clRxTelContainer>(m_payloadSize);
    return readPayload();
}

int clTcpTelHndlr::finishTelegram(int count)
{
    const FrameHeader header = FrameHeader::decode(m_header);
    m_headerReceived = m_payloadReceived = m_trailerReceived = 0;
    logFrame(header, FrameDirection::received);
    const bool isTrailerValid = decodeFrameTrailer(m_trailer) == kFrameTrailer;
    if (!isTrailerValid)
        logTransaction(LogLevel::info, "FT_ERR");
    if (!header.isValid() || !isTrailerValid) {
        logTransaction(LogLevel::error, "connection frame check of request failed");
        return 0;
    }
    if (header.type != TelegramType::transaction) {
        logTransaction(LogLevel::error, "received unexpected telegram type instead of transaction");
        return 0;
    }
    if (m_isUnwanted)
        return count;
    if (m_place)
        std::exchange(m_place, nullptr)->arrived();
    else
        m_transactions.transactionArrived(header.source, std::move(m_incoming), *this);
    return count;
}

int clTcpTelHndlr::sendAndWait(std::span<const Bytes> payload, sys::EventFlag& flag)
{
    communication::Reception::Wait wait{m_reception, m_socket->event(), flag};
    if (send(payload, &wait) != 0)
        return -1;
    wait.untilSet();
    return 0;
}

int clTcpTelHndlr::send(std::span<const Bytes> payload, communication::Reception::Wait* wait)
{
    std::size_t length = 0;
    std::array<Bytes, 8> parts;
    std::size_t count = 1; // the header
    for (const Bytes part : payload) {
        length += part.size();
        if (!part.empty())
            parts[count++] = part;
    }
    // The field holds 16 bits; the transaction layer cuts what is longer.
    const FrameHeader header{.payloadLength = static_cast<std::uint16_t>(length), .source = m_self};
    const auto headerBytes = header.encode();
    const auto trailerBytes = encodeFrameTrailer();
    parts[0] = headerBytes;
    parts[count++] = trailerBytes;

    logFrame(header, FrameDirection::sent);
    noteSending();
    const Outcome outcome = putOrWait(std::span<const Bytes>{parts}.first(count),
                                      length + headerBytes.size() + trailerBytes.size(), wait);
    if (outcome == Outcome::accepted)
        return 0;
    logTransaction(LogLevel::error, [&] { return "could not send to " + hexadecimalText(m_peer); });
    if (outcome == Outcome::torn)
        m_transactions.connectionLost(*this);
    return -1;
}

Outcome clTcpTelHndlr::putOrWait(std::span<const Bytes> parts, std::size_t size,
                                 communication::Reception::Wait* wait)
{
    using communication::OutgoingQueue;
    if (m_loop->isDispatching()) {
        const Outcome outcome = m_outgoing.put(parts, OutgoingQueue::kMost);
        return outcome == Outcome::noRoom ? Outcome::torn : outcome;
    }
    Outcome outcome = m_outgoing.put(parts, OutgoingQueue::kRoom);
    if (outcome != Outcome::noRoom)
        return outcome;
    if (wait)
        wait->end();
    const Clock::time_point deadline = Clock::now() + kRoomLimit;
    while (outcome == Outcome::noRoom && m_outgoing.waitForRoom(size, deadline))
        outcome = m_outgoing.put(parts, OutgoingQueue::kRoom);
    return outcome;
}

} // namespace zel
