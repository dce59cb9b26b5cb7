#include "requestor_trans.h"

#include "own_uuid.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zel {

namespace {

constexpr std::size_t kLengthField = 4;
// A length that was only announced is not believed beyond this: the rest grows as data comes.
constexpr std::size_t kFirstAllocation = std::size_t{1} << 20;

std::array<std::byte, kLengthField> encodeLength(std::size_t length)
{
    std::array<std::byte, kLengthField> bytes;
    ByteWriter{bytes}.u32(length);
    return bytes;
}

} // namespace

clRequestorTrans::clRequestorTrans(std::uint64_t target, iTransactionOwner& owner,
                                   sys::EventLoop& loop, iConnectionFinder& connections)
    : clRequestorBase(target, owner, loop), m_connections(connections)
{
}

bool clRequestorTrans::matches(const TransactionSource& source,
                               const TransactionHeader& header) const
{
    return source.uuid == target() && source.connectionId == connectionId() &&
           header.label == label() && header.type != TransactionType::request &&
           header.destination == ownUuid();
}

void clRequestorTrans::Reception::begin(const std::shared_ptr<iTelegramSender>& sender)
{
    if (sender->beginReception())
        m_sender = sender;
}

void clRequestorTrans::Reception::receiveUntil(const sys::EventFlag& flag)
{
    if (m_sender)
        m_sender->receiveUntil(flag);
}

void clRequestorTrans::Reception::end()
{
    if (m_sender)
        m_sender->endReception();
    m_sender.reset();
}

void clRequestorTrans::wait(sys::EventFlag& isOver)
{
    m_reception.receiveUntil(isOver);
    m_reception.end();
    isOver.wait();
}

void clRequestorTrans::send(std::shared_ptr<const clTxTelContainer> payload)
{
    const std::shared_ptr<iTelegramSender> sender = m_connections.senderTo(target());
    if (!sender) {
        finish(ZEL_CONN_UNKNOWN_UUID);
        return;
    }
    const std::size_t size = payload->size();
    const bool isSegmented = size > kMaxUnsegmented;
    {
        const Lock locked = lock();
        m_sender = sender;
        m_state = isSegmented ? State::sendingSegments : State::waitingForAcknowledge;
        m_request = payload;
        m_segmentsEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds{kLongestMs};
        const std::int32_t result = beginLocked(sender->connectionId(), kAcknowledgeMs);
        if (result != ZEL_OK) {
            finishLocked(result);
            return;
        }
    }
    if (isWaitExpected())
        m_reception.begin(sender);
    // The answer may be here before the call below has returned: nothing is changed from then on.
    int result;
    if (isSegmented) {
        const auto length = encodeLength(size);
        result = sendTelegram(*sender, TransactionType::requestSegmentInit, {Bytes{length}, {}});
    } else {
        result = sendTelegram(*sender, TransactionType::request, payload->slice(0, size));
    }
    if (result != 0)
        finish(ZEL_CONN_SEND_FAILED);
}

int clRequestorTrans::sendTelegram(iTelegramSender& sender, TransactionType type,
                                   std::array<Bytes, 2> payload)
{
    const auto header = TransactionHeader{type, label(), target()}.encode();
    logSent(type);
    const std::array<Bytes, 3> parts{Bytes{header}, payload[0], payload[1]};
    return sender.send(parts);
}

void clRequestorTrans::onTimeout(bool expired)
{
    if (!expired)
        return;
    const Lock locked = lock();
    switch (m_state) {
    case State::sendingSegments:
        finishLocked(ZEL_TRANS_TIMEOUT_SEND);
        break;
    case State::waitingForAcknowledge:
        finishLocked(ZEL_TRANS_TIMEOUT_ACKNOWLEDGE);
        break;
    case State::waitingForResponse:
    case State::receivingSegments:
        finishLocked(ZEL_TRANS_TIMEOUT_RESPONSE);
        break;
    default:
        finishLocked(ZEL_TRANS_WRONG_TYPE);
    }
}

void clRequestorTrans::receive(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                               const TransactionSource& source)
{
    std::shared_ptr<iTelegramSender> sender;
    MaybeReply reply;
    {
        const Lock locked = lock();
        if (isFinishedLocked())
            return;
        sender = m_sender.lock();
        reply = takeLocked(type, std::move(telegram), source);
    }
    if (!reply)
        return;
    const int result = sender ? sendTelegram(*sender, reply->type, reply->payload) : -1;
    const Lock locked = lock();
    if (isFinishedLocked())
        return;
    // A complete response counts although its last acknowledge may not have left.
    if (reply->isLast)
        deliverLocked(std::move(m_response), source);
    else if (result != 0)
        finishLocked(ZEL_CONN_SEND_FAILED);
}

clRequestorTrans::MaybeReply
clRequestorTrans::takeLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                             const TransactionSource& source)
{
    switch (m_state) {
    case State::sendingSegments:
        if (type == TransactionType::requestSegmentAck)
            return nextSegmentLocked();
        break;
    case State::waitingForAcknowledge:
        return acknowledgedLocked(type, std::move(telegram), source);
    case State::waitingForResponse:
        return respondedLocked(type, std::move(telegram), source);
    case State::receivingSegments:
        if (type == TransactionType::responseSegment)
            return takeSegmentLocked(telegram->payload());
        break;
    }
    finishLocked(ZEL_TRANS_WRONG_TYPE);
    return {};
}

clRequestorTrans::MaybeReply clRequestorTrans::nextSegmentLocked()
{
    if (std::chrono::steady_clock::now() >= m_segmentsEnd) {
        finishLocked(ZEL_TRANS_TIMEOUT_SEND);
        return {};
    }
    const std::size_t length = std::min(m_request->size() - m_sent, kSegmentSize);
    const auto segment = m_request->slice(m_sent, length);
    m_sent += length;
    if (m_sent == m_request->size())
        m_state = State::waitingForAcknowledge;
    restartTimerLocked(kAcknowledgeMs);
    return Reply{TransactionType::requestSegment, segment, m_request, false};
}

clRequestorTrans::MaybeReply
clRequestorTrans::acknowledgedLocked(TransactionType type,
                                     std::unique_ptr<clRxTelContainer> telegram,
                                     const TransactionSource& source)
{
    if (type == TransactionType::response) {
        m_state = State::waitingForResponse;
        return respondedLocked(type, std::move(telegram), source);
    }
    if (type != TransactionType::responsePending) {
        finishLocked(ZEL_TRANS_WRONG_TYPE);
    } else if (telegram->payload().size() != kLengthField) {
        finishLocked(ZEL_TRANS_INVALID_FORMAT);
    } else {
        m_state = State::waitingForResponse;
        restartTimerLocked(std::min(ByteReader{telegram->payload()}.u32(), kLongestMs));
    }
    return {};
}

clRequestorTrans::MaybeReply
clRequestorTrans::respondedLocked(TransactionType type, std::unique_ptr<clRxTelContainer> telegram,
                                  const TransactionSource& source)
{
    if (type == TransactionType::response)
        deliverLocked(std::move(telegram), source);
    else if (type != TransactionType::responseSegmentInit)
        finishLocked(ZEL_TRANS_WRONG_TYPE);
    else if (telegram->payload().size() != kLengthField)
        finishLocked(ZEL_TRANS_INVALID_FORMAT);
    else
        return beginResponseLocked(telegram->payload());
    return {};
}

clRequestorTrans::MaybeReply clRequestorTrans::beginResponseLocked(Bytes payload)
{
    m_expected = ByteReader{payload}.u32();
    m_received = 0;
    m_emptySegments = 0;
    m_segmentsEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds{kLongestMs};
    try {
        m_response = std::make_unique<clRxTelContainer>(std::min(m_expected, kFirstAllocation));
    } catch (const std::bad_alloc&) {
        finishLocked(ZEL_SYS_NO_OBJECT);
        return {};
    }
    m_state = State::receivingSegments;
    return acknowledgeSegmentLocked();
}

clRequestorTrans::MaybeReply clRequestorTrans::takeSegmentLocked(Bytes segment)
{
    // The timer keeps running: the module has to send the right one.
    if (segment.size() > m_expected - m_received)
        return {};
    m_emptySegments = segment.empty() ? m_emptySegments + 1 : 0;
    if (m_emptySegments > kMostEmptySegments) {
        finishLocked(ZEL_TRANS_INVALID_FORMAT);
        return {};
    }
    const std::size_t needed = m_received + segment.size();
    if (needed > m_response->size()) {
        try {
            m_response->resize(std::min(m_expected, std::max(needed, 2 * m_response->size())));
        } catch (const std::bad_alloc&) {
            finishLocked(ZEL_SYS_NO_OBJECT);
            return {};
        }
    }
    if (!segment.empty())
        std::memcpy(m_response->writable().data() + m_received, segment.data(), segment.size());
    m_received = needed;
    if (m_received == m_expected)
        return Reply{TransactionType::responseSegmentAck, {}, {}, true};
    return acknowledgeSegmentLocked();
}

clRequestorTrans::MaybeReply clRequestorTrans::acknowledgeSegmentLocked()
{
    if (std::chrono::steady_clock::now() >= m_segmentsEnd) {
        finishLocked(ZEL_TRANS_TIMEOUT_RESPONSE);
        return {};
    }
    restartTimerLocked(kAcknowledgeMs);
    return Reply{TransactionType::responseSegmentAck, {}, {}, false};
}

} // namespace zel
