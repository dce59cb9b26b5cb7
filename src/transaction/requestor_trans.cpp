#include "requestor_trans.h"

#include "own_uuid.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <new>

namespace zel {

namespace {

constexpr std::size_t kLengthField = 4;

std::array<std::byte, kLengthField> encodeLength(std::size_t length)
{
    std::array<std::byte, kLengthField> bytes;
    ByteWriter{bytes}.u32(length);
    return bytes;
}

} // namespace

clRequestorTrans::clRequestorTrans(std::uint64_t target, sys::EventLoop& loop,
                                   const std::shared_ptr<iTelegramSender>& connection)
    : clRequestorBase(target, loop), m_connection(connection)
{
}

bool clRequestorTrans::matches(const TransactionSource& source,
                               const TransactionHeader& header) const
{
    return source.uuid == target() && source.connectionId == connectionId() &&
           header.label == label() && header.type != TransactionType::request &&
           header.destination == ownUuid();
}

std::int32_t clRequestorTrans::send(std::shared_ptr<const clTxTelContainer> payload,
                                    std::shared_ptr<iTransactionOwner> owner)
{
    return start(payload, std::move(owner), nullptr);
}

std::int32_t clRequestorTrans::sendAndWait(std::shared_ptr<const clTxTelContainer> payload,
                                           std::shared_ptr<iTransactionOwner> owner,
                                           sys::EventFlag& isOver)
{
    const std::int32_t result = start(payload, std::move(owner), &isOver);
    if (result == ZEL_OK)
        isOver.wait();
    return result;
}

std::int32_t clRequestorTrans::start(const std::shared_ptr<const clTxTelContainer>& payload,
                                     std::shared_ptr<iTransactionOwner> owner,
                                     sys::EventFlag* isOver)
{
    const std::shared_ptr<iTelegramSender> connection = m_connection.lock();
    if (!connection)
        return ZEL_CONN_UNKNOWN_UUID;
    const std::size_t size = payload->size();
    const bool isSegmented = size > kMaxUnsegmented;
    {
        const Lock locked = lock();
        m_state = isSegmented ? State::sendingSegments : State::waitingForAcknowledge;
        m_request = payload;
        m_segmentsEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds{kLongestMs};
        const std::int32_t result = beginLocked(std::move(owner), connection->connectionId(),
                                                kAcknowledgeMs, isOver != nullptr);
        if (result != ZEL_OK)
            return result;
    }
    if (!isSegmented)
        return endSending(
            sendTelegram(*connection, TransactionType::request, payload->slice(0, size), isOver));
    const auto length = encodeLength(size);
    return endSending(sendTelegram(*connection, TransactionType::requestSegmentInit,
                                   {Bytes{length}, {}}, isOver));
}

std::int32_t clRequestorTrans::sendTelegram(iTelegramSender& connection, TransactionType type,
                                            const std::array<Bytes, 2>& payload,
                                            sys::EventFlag* waitFor) const
{
    const auto header = TransactionHeader{type, label().value_or(0), target()}.encode();
    logSent(type);
    const std::array<Bytes, 3> parts{Bytes{header}, payload[0], payload[1]};
    try {
        const int result =
            waitFor ? connection.sendAndWait(parts, *waitFor) : connection.send(parts);
        return result == 0 ? ZEL_OK : ZEL_CONN_SEND_FAILED;
    } catch (const std::bad_alloc&) {
        return ZEL_SYS_NO_OBJECT;
    }
}

void clRequestorTrans::closeLocked()
{
    clRequestorBase::closeLocked();
    m_request.reset();
    m_response.reset();
}

void clRequestorTrans::onTimeout()
{
    const Lock locked = lock();
    if (isTimeLeftLocked())
        return;
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
    MaybeReply reply;
    {
        const Lock locked = lock();
        if (isOverLocked())
            return;
        reply = takeLocked(type, std::move(telegram), source);
    }
    answer(std::move(reply), source);
}

void clRequestorTrans::answer(MaybeReply reply, const TransactionSource& source)
{
    if (!reply)
        return;
    const std::shared_ptr<iTelegramSender> connection = m_connection.lock();
    const std::int32_t result =
        connection ? sendTelegram(*connection, reply->type, reply->payload) : ZEL_CONN_SEND_FAILED;
    const Lock locked = lock();
    // A complete response counts although its last acknowledge may not have left.
    if (reply->response)
        deliverLocked(std::move(reply->response), source);
    else if (result != ZEL_OK)
        finishLocked(result);
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
    return Reply{.type = TransactionType::requestSegment, .payload = segment, .request = m_request};
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
        m_response = makeResponseLocked(m_expected);
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
    try {
        makeRoomLocked(segment.size());
    } catch (const std::bad_alloc&) {
        finishLocked(ZEL_SYS_NO_OBJECT);
        return {};
    }
    m_response->write(m_received, segment);
    return segmentTakenLocked(segment.size());
}

void clRequestorTrans::makeRoomLocked(std::size_t size)
{
    const std::size_t needed = m_received + size;
    if (needed > m_response->size())
        m_response->resize(std::min(m_expected, std::max(needed, 2 * m_response->size())));
}

clRequestorTrans::MaybeReply clRequestorTrans::segmentTakenLocked(std::size_t size)
{
    m_emptySegments = size == 0 ? m_emptySegments + 1 : 0;
    if (m_emptySegments > kMostEmptySegments) {
        finishLocked(ZEL_TRANS_INVALID_FORMAT);
        return {};
    }
    m_received += size;
    if (m_received == m_expected) {
        Reply last{.type = TransactionType::responseSegmentAck, .response = std::move(m_response)};
        closeLocked();
        return last;
    }
    return acknowledgeSegmentLocked();
}

std::shared_ptr<iPayloadPlace> clRequestorTrans::placeFor(TransactionType type, std::size_t size,
                                                          const TransactionSource& source)
{
    const Lock locked = lock();
    if (isOverLocked())
        return nullptr;
    const bool isSegment = type == TransactionType::responseSegment &&
                           m_state == State::receivingSegments && size <= m_expected - m_received;
    const bool isWhole =
        type == TransactionType::response &&
        (m_state == State::waitingForAcknowledge || m_state == State::waitingForResponse);
    if (!isSegment && !isWhole)
        return nullptr;
    try {
        if (isWhole)
            m_response = makeResponseLocked(size);
        else
            makeRoomLocked(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    m_arriving = {type, size, source};
    return {shared_from_this(), this};
}

std::optional<int> clRequestorTrans::readAt(std::size_t offset, const Read& read)
{
    // Held while the system copies: whoever is told the end has his memory for himself again.
    const Lock locked = lock();
    if (isOverLocked())
        return {};
    const MutableBytes place = m_response->writable(m_received + offset);
    return read(place.first(std::min(place.size(), m_arriving.size - offset)));
}

void clRequestorTrans::arrived()
{
    MaybeReply reply;
    TransactionSource source;
    {
        const Lock locked = lock();
        if (isOverLocked())
            return;
        source = m_arriving.source;
        if (m_arriving.type == TransactionType::response)
            deliverLocked(std::move(m_response), source);
        else
            reply = segmentTakenLocked(m_arriving.size);
    }
    answer(std::move(reply), source);
}

clRequestorTrans::MaybeReply clRequestorTrans::acknowledgeSegmentLocked()
{
    if (std::chrono::steady_clock::now() >= m_segmentsEnd) {
        finishLocked(ZEL_TRANS_TIMEOUT_RESPONSE);
        return {};
    }
    restartTimerLocked(kAcknowledgeMs);
    return Reply{.type = TransactionType::responseSegmentAck};
}

} // namespace zel
