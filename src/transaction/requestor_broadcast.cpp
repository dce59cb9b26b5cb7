#include "requestor_broadcast.h"

#include "frame.h"
#include "own_uuid.h"
#include "telegram_container.h"
#include "ZEL_VR_Framework.h"

#include <vector>

namespace zel {

namespace {

constexpr std::size_t kFraming = kFrameHeaderSize + TransactionHeader::kSize + kFrameTrailerSize;

void append(std::vector<std::byte>& out, Bytes bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
}

std::vector<std::byte> requestTelegram(const TransactionHeader& transaction,
                                       const clTxTelContainer& payload)
{
    const std::size_t length = TransactionHeader::kSize + payload.size();
    const FrameHeader frame{.payloadLength = static_cast<std::uint16_t>(length),
                            .source = ownUuid()};
    std::vector<std::byte> telegram;
    telegram.reserve(kFraming + payload.size());
    append(telegram, frame.encode());
    append(telegram, transaction.encode());
    for (const Bytes part : payload.slice(0, payload.size()))
        append(telegram, part);
    append(telegram, encodeFrameTrailer());
    return telegram;
}

} // namespace

clRequestorBroadcast::clRequestorBroadcast(std::uint64_t target, sys::EventLoop& loop,
                                           const SendDatagram& way)
    : clRequestorBase(target, loop), m_way(way)
{
}

bool clRequestorBroadcast::matches(const TransactionSource& source,
                                   const TransactionHeader& header) const
{
    return source.connectionId == 0 && header.label == label() && header.destination == ownUuid() &&
           header.type == TransactionType::response && (isForAll() || source.uuid == target());
}

std::int32_t clRequestorBroadcast::send(std::shared_ptr<const clTxTelContainer> payload,
                                        std::shared_ptr<iTransactionOwner> owner)
{
    if (payload->size() > kLargestDatagram - kFraming)
        return ZEL_CONN_SEND_FAILED;
    const auto telegram =
        requestTelegram({TransactionType::request, label().value_or(0), target()}, *payload);
    {
        const Lock locked = lock();
        const std::int32_t result = beginLocked(std::move(owner), 0, kAnswerMs);
        if (result != ZEL_OK)
            return result;
    }
    logSent(TransactionType::request);
    return endSending(m_way(telegram) == ZEL_OK ? ZEL_OK : ZEL_CONN_SEND_FAILED);
}

void clRequestorBroadcast::onTimeout()
{
    finish(isForAll() ? ZEL_OK : ZEL_TRANS_TIMEOUT_RESPONSE);
}

void clRequestorBroadcast::receive(TransactionType, std::unique_ptr<clRxTelContainer> telegram,
                                   const TransactionSource& source)
{
    const Lock locked = lock();
    if (isOverLocked())
        return;
    if (isForAll())
        deliverOneOfManyLocked(std::move(telegram), source);
    else
        deliverLocked(std::move(telegram), source);
}

} // namespace zel
