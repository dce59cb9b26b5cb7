#include "datagram_listener.h"

#include "frame.h"
#include "method_header.h"
#include "module_core.h"
#include "socket_twin.h"

namespace zel::simulator {

namespace {

constexpr std::uint16_t kBroadcastPort = 1200;
constexpr std::uint16_t kHostPort = 1201;
constexpr std::uint16_t kMulticastPort = 1300;
constexpr std::size_t kMostUnderWay = 10000;
const asio::ip::address_v4 kGroup{{224, 0, 0, 1}};

struct Request {
    TransactionKey key;
    std::uint64_t destination;
    Bytes body;
};

/// What a host sent; nothing for whatever else comes to these ports, answers of other modules
/// among them.
std::optional<Request> readRequest(Bytes datagram)
{
    if (datagram.size() < kFrameHeaderSize + kFrameTrailerSize)
        return {};
    const auto frame = FrameHeader::decode(datagram.first<kFrameHeaderSize>());
    if (!frame.isValid() || frame.type != TelegramType::transaction ||
        decodeFrameTrailer(datagram.last<kFrameTrailerSize>()) != kFrameTrailer)
        return {};
    ByteReader in{
        datagram.subspan(kFrameHeaderSize, datagram.size() - kFrameHeaderSize - kFrameTrailerSize)};
    const auto header = TransactionHeader::decode(in);
    if (!header || header->type != TransactionType::request)
        return {};
    return Request{{frame.source, header->label}, header->destination, in.rest()};
}

} // namespace

/// Sends the answer of one request; what a datagram cannot carry does not leave.
class DatagramListener::Outlet final : public TelegramOutlet {
public:
    Outlet(DatagramListener& listener, Route route)
        : m_listener(listener), m_route(std::move(route))
    {
    }

    asio::any_io_executor executor() override { return m_listener.m_context.get_executor(); }
    void send(OutgoingTelegram telegram) override
    {
        m_listener.send(telegram.bytes, m_route);
        if (telegram.sent)
            asio::post(executor(), std::move(telegram.sent));
    }
    void reset() override {}
    void finished(const AnswerTransfer& transfer) override
    {
        // The last reference may be the caller's own.
        asio::post(executor(), [self = std::move(m_listener.m_underWay[&transfer])] {});
        m_listener.m_underWay.erase(&transfer);
        m_transfer.reset();
    }

    std::shared_ptr<AnswerTransfer> m_transfer;

private:
    DatagramListener& m_listener;
    const Route m_route;
};

DatagramListener::DatagramListener(asio::io_context& context)
    : m_context(context),
      m_broadcasts(context, kBroadcastPort),
      m_multicasts(context, kMulticastPort)
{
    m_broadcasts.receive([this](const Datagram& datagram) { take(datagram, Way::broadcast); });
    m_multicasts.receive([this](const Datagram& datagram) { take(datagram, Way::multicast); });
}

DatagramListener::~DatagramListener()
{
    for (const auto& [transfer, outlet] : m_underWay)
        outlet->m_transfer->cancel();
}

void DatagramListener::add(ModuleCore& module)
{
    m_modules.push_back(&module);
    joinWhereModulesAre();
}

void DatagramListener::joinWhereModulesAre()
{
    std::error_code ignored;
    for (const ModuleCore* const module : m_modules) {
        const auto adapter = asio::ip::make_address_v4(module->settings().address, ignored);
        if (!ignored)
            m_multicasts.join(kGroup, adapter);
    }
}

void DatagramListener::take(const Datagram& datagram, Way way)
{
    const auto request = readRequest(datagram.bytes);
    if (!request)
        return;
    const auto interfaces = socket_twin::interfacesByAddress();
    for (ModuleCore* const module : m_modules) {
        const ModuleSettings& settings = module->settings();
        const auto on = interfaces.find(settings.address);
        const bool isMeant =
            request->destination == settings.uuid || request->destination == kBroadcastNode;
        const bool isHere = on != interfaces.end() &&
                            (datagram.interfaceIndex == 0 || datagram.interfaceIndex == on->second);
        const bool isHeard =
            way == Way::broadcast ? settings.hearsBroadcasts : settings.hearsMulticasts;
        if (isMeant && isHere && isHeard && m_underWay.size() < kMostUnderWay)
            handle(*module, {way, on->second, settings.address}, request->key, request->destination,
                   request->body);
    }
}

void DatagramListener::handle(ModuleCore& module, const Route& route, TransactionKey key,
                              std::uint64_t destination, Bytes request)
{
    ByteReader in{request};
    const auto header = MethodRequestHeader::decode(in);
    if (!header || !module.isListening())
        return;
    ReceivedCall received;
    received.source = key.requestor;
    received.destination = destination;
    received.label = key.label;
    received.id = {header->service, header->method};
    received.data.assign(reinterpret_cast<const char*>(in.rest().data()), in.rest().size());
    received.datagram = true;
    received.arrived = std::chrono::steady_clock::now();

    const auto outlet = std::make_shared<Outlet>(*this, route);
    outlet->m_transfer =
        std::make_shared<AnswerTransfer>(outlet, m_context.get_executor(), key, module.settings());
    const auto transfer = outlet->m_transfer;
    m_underWay[transfer.get()] = outlet;
    const auto fault = module.faults().strike(received.id);
    const MethodId id = received.id;
    transfer->start(id, module.answer(std::move(received)), fault);
    joinWhereModulesAre();
}

void DatagramListener::send(Bytes telegram, const Route& route)
{
    std::error_code ignored;
    const auto from = asio::ip::make_address_v4(route.from, ignored);
    if (route.way == Way::broadcast)
        m_broadcasts.send(telegram, {asio::ip::address_v4::broadcast(), kHostPort},
                          route.interfaceIndex, from);
    else
        m_multicasts.send(telegram, {kGroup, kMulticastPort}, route.interfaceIndex, from);
}

} // namespace zel::simulator
