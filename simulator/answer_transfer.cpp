#include "answer_transfer.h"

#include "frame.h"
#include "method_header.h"
#include "telegram_cutter.h"

#include <algorithm>
#include <array>
#include <utility>

#include <asio/post.hpp>

namespace zel::simulator {

namespace {

using namespace std::chrono_literals;

/// A host waits this long for the first sign; what takes a good part of it is announced.
constexpr milliseconds kAnnouncedFrom = 1000ms;
constexpr milliseconds kPendingReserve = 3000ms;
constexpr milliseconds kAcknowledgeTime = 10000ms;

std::array<std::byte, 4> encodeLength(std::size_t length)
{
    std::array<std::byte, 4> bytes;
    ByteWriter{bytes}.u32(length);
    return bytes;
}

} // namespace

AnswerTransfer::AnswerTransfer(std::weak_ptr<TelegramOutlet> outlet, asio::any_io_executor executor,
                               TransactionKey key, const ModuleSettings& settings)
    : m_outlet(std::move(outlet)), m_key(key), m_settings(settings), m_timer(executor)
{
}

void AnswerTransfer::start(MethodId id, MethodAnswer answer, std::optional<Fault> fault)
{
    m_answer = std::move(answer);
    m_fault = fault;
    if (has(FaultKind::wrongService))
        id.service ^= 1;
    if (has(FaultKind::wrongMethod))
        id.method ^= 1;
    m_header = MethodResponseHeader{id.service, id.method, m_answer.result}.encode();

    if (m_isOver) // a handler closed the connection while it made the answer
        return end();
    if (has(FaultKind::silence))
        return finish();
    if (has(FaultKind::reset)) {
        if (const auto outlet = m_outlet.lock())
            outlet->reset();
        return finish();
    }
    if (const auto pending = pendingTime())
        sendPending(*pending, has(FaultKind::wrongPendingLength));
    if (has(FaultKind::pendingTwice))
        sendPending(kPendingReserve, false);
    if (m_answer.silent || has(FaultKind::pendingOnly) || has(FaultKind::wrongPendingLength))
        return finish();
    respondAfter(m_answer.delay + (has(FaultKind::delay) ? m_fault->time : 0ms));
}

void AnswerTransfer::acknowledge()
{
    if (!m_isWaitingForAcknowledge)
        return;
    m_isWaitingForAcknowledge = false;
    if (m_sent == responseSize())
        finish();
    else
        sendSegment();
}

void AnswerTransfer::cancel()
{
    if (!m_isOver)
        end();
}

bool AnswerTransfer::isSegmented() const
{
    static constexpr std::array kSegmentFaults{
        FaultKind::segmentsUnannounced, FaultKind::wrongSegmentLength, FaultKind::oversizedSegment,
        FaultKind::shortSegments};
    if (m_fault && std::ranges::count(kSegmentFaults, m_fault->kind) != 0)
        return true;
    // The length field of a frame has no room for more, whatever a script asks for.
    if (m_answer.data.size() > kLargestWholeAnswer)
        return true;
    return m_answer.segmented.value_or(m_answer.data.size() > m_settings.largestWholeAnswer);
}

std::optional<milliseconds> AnswerTransfer::pendingTime() const
{
    if (has(FaultKind::segmentsUnannounced))
        return std::nullopt;
    if (has(FaultKind::pendingOnly))
        return m_fault->time;
    if (has(FaultKind::wrongPendingLength) || has(FaultKind::pendingTwice))
        return kPendingReserve;
    if (m_answer.pending || m_answer.silent)
        return m_answer.pending;
    // A host that waits for its acknowledge takes RESP or RESP_PEND, and no announcement of
    // segments.
    if (m_answer.delay >= kAnnouncedFrom || isSegmented())
        return m_answer.delay + kPendingReserve;
    return std::nullopt;
}

void AnswerTransfer::sendPending(milliseconds time, bool cut)
{
    const auto bytes =
        encodeLength(static_cast<std::size_t>(std::max<milliseconds::rep>(time.count(), 0)));
    send(compose(TransactionType::responsePending, {Bytes{bytes}.first(cut ? 2 : 4)}));
}

void AnswerTransfer::respondAfter(milliseconds delay)
{
    if (delay <= 0ms)
        return respond();
    after(delay, [this] { respond(); });
}

void AnswerTransfer::respond()
{
    if (isSegmented())
        announceSegments();
    else
        respondWhole();
}

void AnswerTransfer::respondWhole()
{
    OutgoingTelegram telegram = compose(TransactionType::response, piece(0, responseSize()));
    if (m_fault)
        distort(telegram.bytes, *m_fault);
    if (has(FaultKind::disconnectMidTelegram))
        telegram.breakOff();
    telegram.sent = std::exchange(m_answer.afterwards, nullptr);
    send(std::move(telegram));
    finish();
}

void AnswerTransfer::announceSegments()
{
    const auto length = encodeLength(responseSize());
    const std::size_t size = has(FaultKind::wrongSegmentLength) ? 2 : length.size();
    OutgoingTelegram telegram =
        compose(TransactionType::responseSegmentInit, {Bytes{length}.first(size)});
    if (m_fault)
        distort(telegram.bytes, *m_fault);
    send(std::move(telegram));
    watchForAcknowledge();
}

void AnswerTransfer::sendSegment()
{
    const std::size_t rest = responseSize() - m_sent;
    const std::size_t most = has(FaultKind::shortSegments) ? m_fault->size : m_settings.segmentSize;
    if (has(FaultKind::oversizedSegment) && rest <= kLargestSegment)
        return sendOversizedSegment();
    const std::size_t size = std::min(rest, std::clamp<std::size_t>(most, 1, kLargestSegment));
    OutgoingTelegram telegram = compose(TransactionType::responseSegment, piece(m_sent, size));
    if (has(FaultKind::disconnectMidTelegram))
        telegram.breakOff();
    m_sent += size;
    if (m_sent == responseSize())
        telegram.sent = std::exchange(m_answer.afterwards, nullptr);
    send(std::move(telegram));
    watchForAcknowledge();
}

void AnswerTransfer::sendOversizedSegment()
{
    m_answer.data += '!';
    send(compose(TransactionType::responseSegment, piece(m_sent, responseSize() - m_sent)));
    m_answer.data.pop_back();
    after(m_fault->time, [this] {
        m_fault.reset();
        sendSegment();
    });
}

/// A host that stops acknowledging must not keep its answers here for ever.
void AnswerTransfer::watchForAcknowledge()
{
    m_isWaitingForAcknowledge = true;
    after(kAcknowledgeTime, [this] { finish(); });
}

void AnswerTransfer::finish()
{
    end();
    if (const auto outlet = m_outlet.lock())
        outlet->finished(*this);
}

void AnswerTransfer::end()
{
    m_isOver = true;
    m_isWaitingForAcknowledge = false;
    m_timer.cancel();
    // Posted: it may restart the module, and with it close the connection that is calling.
    if (m_answer.afterwards)
        asio::post(m_timer.get_executor(), std::exchange(m_answer.afterwards, nullptr));
}

/// Setting the timer again cancels what it was set for before.
template <class Action>
void AnswerTransfer::after(milliseconds time, Action action)
{
    m_timer.expires_after(time);
    m_timer.async_wait([self = shared_from_this(), action](const std::error_code& error) {
        if (!error && !self->m_isOver)
            action();
    });
}

AnswerTransfer::Parts AnswerTransfer::piece(std::size_t first, std::size_t size) const
{
    const std::size_t end = first + size;
    const auto inHeader = [this](std::size_t at) { return std::min(at, m_header.size()); };
    const auto inData = [&](std::size_t at) { return at - inHeader(at); };
    return {Bytes{m_header}.subspan(inHeader(first), inHeader(end) - inHeader(first)),
            asBytes(m_answer.data.data(), m_answer.data.size())
                .subspan(inData(first), inData(end) - inData(first))};
}

OutgoingTelegram AnswerTransfer::compose(TransactionType type, const Parts& payload) const
{
    const auto header = TransactionHeader{type, m_key.label, m_key.requestor}.encode();
    OutgoingTelegram telegram;
    telegram.bytes = composeTelegram(TelegramType::transaction, m_settings.uuid,
                                     {header, payload[0], payload[1]});
    if (has(FaultKind::byteByByte)) {
        telegram.byteByByte = true;
        telegram.gap = m_fault->time;
    }
    return telegram;
}

void AnswerTransfer::send(OutgoingTelegram telegram)
{
    if (const auto outlet = m_outlet.lock())
        outlet->send(std::move(telegram));
}

} // namespace zel::simulator
