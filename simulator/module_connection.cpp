#include "module_connection.h"

#include "address_resolution.h"
#include "method_header.h"
#include "module_core.h"

#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

namespace zel::simulator {

namespace {

/// A host that sends and never reads must not fill the memory with its answers.
constexpr std::size_t kMostOutgoingBytes = 16u << 20;
constexpr std::size_t kMostTransfers = 1024;

} // namespace

ModuleConnection::ModuleConnection(asio::ip::tcp::socket socket, ModuleCore& module,
                                   std::uint64_t number)
    : m_module(module),
      m_number(number),
      m_socket(std::move(socket)),
      m_gap(m_socket.get_executor()),
      m_requests(module.settings().largestRequest)
{
}

void ModuleConnection::start()
{
    std::error_code ignored;
    m_socket.set_option(asio::ip::tcp::no_delay{true}, ignored);
    read();
}

void ModuleConnection::close()
{
    if (!std::exchange(m_isOpen, false))
        return;
    const auto self = shared_from_this();
    std::error_code ignored;
    m_socket.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
    m_gap.cancel();
    for (const auto& [key, transfer] : std::exchange(m_transfers, {}))
        transfer->cancel();
    // The telegrams themselves stay: a write that is being cancelled may still look at its bytes.
    for (OutgoingTelegram& telegram : m_outgoing)
        if (telegram.sent)
            asio::post(m_socket.get_executor(), std::exchange(telegram.sent, nullptr));
    m_module.forget(*this);
}

void ModuleConnection::reset()
{
    if (!m_isOpen)
        return;
    std::error_code ignored;
    // Closing a socket that lingers for no time at all sends RST instead of FIN; a shutdown
    // before it would send the FIN after all.
    m_socket.set_option(asio::socket_base::linger{true, 0}, ignored);
    m_socket.close(ignored);
    close();
}

void ModuleConnection::resumeReading()
{
    if (!m_isOpen || m_isReading || !mayRead())
        return;
    if (m_parked != 0)
        consume(std::exchange(m_parked, 0));
    else
        read();
}

bool ModuleConnection::mayRead()
{
    return m_outgoingBytes < kMostOutgoingBytes && !m_module.faults().isReadingStopped();
}

void ModuleConnection::read()
{
    if (!m_isOpen || !mayRead())
        return;
    m_isReading = true;
    m_socket.async_read_some(
        asio::buffer(m_chunk),
        [self = shared_from_this()](const std::error_code& error, std::size_t size) {
            self->m_isReading = false;
            if (error)
                self->close();
            else if (self->mayRead())
                self->consume(size);
            else
                self->m_parked = size;
        });
}

void ModuleConnection::consume(std::size_t size)
{
    m_isReading = true; // the chunk is in use: a handler must not start the next read
    const bool good =
        m_incoming.feed(Bytes{m_chunk}.first(size), [this](const auto& header, Bytes payload) {
            if (m_isOpen)
                handleTelegram(header, payload);
        });
    m_isReading = false;
    if (good)
        return read();
    m_module.countBadTelegram();
    close();
}

void ModuleConnection::handleTelegram(const FrameHeader& header, Bytes payload)
{
    switch (header.type) {
    case TelegramType::addressResolution:
        return handleAddressRequest(payload);
    case TelegramType::transaction:
        return handleTransaction(header.source, payload);
    }
    m_module.countBadTelegram();
}

void ModuleConnection::handleAddressRequest(Bytes payload)
{
    ByteReader in{payload};
    const auto request = AddressResolutionRequest::decode(in);
    if (!request)
        return m_module.countBadTelegram();
    const auto fault = m_module.faults().strikeAddressResolution();
    if (!fault)
        return answerAddressRequest(request->label, fault);
    switch (fault->kind) {
    case FaultKind::silence:
        return;
    case FaultKind::reset:
        return reset();
    case FaultKind::delay: {
        const auto timer = std::make_shared<asio::steady_timer>(executor(), fault->time);
        timer->async_wait(
            [self = shared_from_this(), timer, label = request->label](const std::error_code&) {
                self->answerAddressRequest(label, std::nullopt);
            });
        return;
    }
    default:
        answerAddressRequest(request->label, fault);
    }
}

void ModuleConnection::answerAddressRequest(std::uint16_t label, const std::optional<Fault>& fault)
{
    const auto answer = AddressResolutionResponse{label, m_module.settings().uuid}.encode();
    OutgoingTelegram telegram;
    telegram.bytes =
        composeTelegram(TelegramType::addressResolution, m_module.settings().uuid, {answer});
    if (fault) {
        distort(telegram.bytes, *fault);
        telegram.byteByByte = fault->kind == FaultKind::byteByByte;
        telegram.gap = fault->time;
        if (fault->kind == FaultKind::disconnectMidTelegram)
            telegram.breakOff();
    }
    send(std::move(telegram));
}

void ModuleConnection::handleTransaction(std::uint64_t source, Bytes payload)
{
    ByteReader in{payload};
    const auto header = TransactionHeader::decode(in);
    if (!header)
        return m_module.countBadTelegram();
    if (header->destination != m_module.settings().uuid && header->destination != kBroadcastNode)
        return m_module.countMisaddressed();

    const TransactionKey key{source, header->label};
    const Bytes body = in.rest();
    switch (header->type) {
    case TransactionType::request:
        return handleRequest(header->destination, key,
                             {reinterpret_cast<const char*>(body.data()), body.size()}, false);
    case TransactionType::requestSegmentInit:
    case TransactionType::requestSegment:
        return handleSegment(*header, key, body);
    case TransactionType::responseSegmentAck:
        if (const auto found = m_transfers.find(key); found != m_transfers.end()) {
            const auto transfer = found->second; // finishing takes it out of the map
            transfer->acknowledge();
        }
        return;
    default:
        m_module.countBadTelegram();
    }
}

void ModuleConnection::handleSegment(const TransactionHeader& header, TransactionKey key,
                                     Bytes piece)
{
    if (header.type == TransactionType::requestSegmentInit) {
        if (m_requests.announce(key, piece))
            return acknowledgeSegment(key);
        return m_module.countBadTelegram();
    }
    switch (m_requests.add(key, piece)) {
    case RequestAssembler::Progress::expectsMore:
        return acknowledgeSegment(key);
    case RequestAssembler::Progress::whole:
        // The answer acknowledges the last piece.
        return handleRequest(header.destination, key, m_requests.take(key), true);
    case RequestAssembler::Progress::refused:
        m_module.countBadTelegram();
    }
}

void ModuleConnection::acknowledgeSegment(TransactionKey key)
{
    const auto header =
        TransactionHeader{TransactionType::requestSegmentAck, key.label, key.requestor}.encode();
    OutgoingTelegram telegram;
    telegram.bytes = composeTelegram(TelegramType::transaction, m_module.settings().uuid, {header});
    send(std::move(telegram));
}

void ModuleConnection::handleRequest(std::uint64_t destination, TransactionKey key,
                                     std::string_view bytes, bool segmented)
{
    ByteReader in{asBytes(bytes.data(), bytes.size())};
    const auto header = MethodRequestHeader::decode(in);
    if (!header)
        return m_module.countBadTelegram();

    ReceivedCall received;
    received.source = key.requestor;
    received.destination = destination;
    received.label = key.label;
    received.id = {header->service, header->method};
    received.data = bytes.substr(MethodRequestHeader::kSize);
    received.segmented = segmented;
    received.arrived = std::chrono::steady_clock::now();

    if (const auto old = m_transfers.extract(key))
        old.mapped()->cancel();
    if (m_transfers.size() >= kMostTransfers)
        return m_module.countBadTelegram();
    const auto transfer =
        std::make_shared<AnswerTransfer>(weak_from_this(), executor(), key, m_module.settings());
    m_transfers[key] = transfer;
    const auto fault = m_module.faults().strike(received.id);
    const MethodId id = received.id;
    MethodAnswer answer = m_module.answer(std::move(received), m_number);
    transfer->start(id, std::move(answer), fault);
}

void ModuleConnection::send(OutgoingTelegram telegram)
{
    if (!m_isOpen) {
        if (telegram.sent)
            asio::post(m_socket.get_executor(), std::move(telegram.sent));
        return;
    }
    m_outgoingBytes += telegram.bytes.size();
    m_outgoing.push_back(std::move(telegram));
    if (!m_isWriting)
        writeNext();
}

void ModuleConnection::finished(const AnswerTransfer& transfer)
{
    const auto found = m_transfers.find(transfer.key());
    if (found != m_transfers.end() && found->second.get() == &transfer)
        m_transfers.erase(found);
}

void ModuleConnection::writeNext()
{
    if (!m_isOpen || m_outgoing.empty())
        return;
    m_isWriting = true;
    if (m_outgoing.front().byteByByte)
        return writeBytesSingly(0);
    asio::async_write(m_socket, asio::buffer(m_outgoing.front().bytes),
                      [self = shared_from_this()](const std::error_code& error, std::size_t) {
                          if (error)
                              self->close();
                          else if (self->m_isOpen)
                              self->wrote();
                      });
}

void ModuleConnection::writeBytesSingly(std::size_t position)
{
    const OutgoingTelegram& telegram = m_outgoing.front();
    if (position == telegram.bytes.size())
        return wrote();
    const auto next = [self = shared_from_this(), position](const std::error_code& error) {
        if (!error && self->m_isOpen)
            self->writeBytesSingly(position + 1);
    };
    const auto written = [self = shared_from_this(), next](const std::error_code& error,
                                                           std::size_t) {
        if (error)
            return self->close();
        if (!self->m_isOpen)
            return;
        self->m_gap.expires_after(self->m_outgoing.front().gap);
        self->m_gap.async_wait(next);
    };
    asio::async_write(m_socket, asio::buffer(&telegram.bytes[position], 1), written);
}

void ModuleConnection::wrote()
{
    m_isWriting = false;
    OutgoingTelegram telegram = std::move(m_outgoing.front());
    m_outgoing.pop_front();
    m_outgoingBytes -= telegram.bytes.size();
    if (telegram.sent)
        telegram.sent();
    if (telegram.endsConnection)
        return close();
    writeNext();
    resumeReading();
}

} // namespace zel::simulator
