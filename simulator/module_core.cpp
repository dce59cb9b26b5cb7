#include "module_core.h"

#include "module_codes.h"
#include "module_connection.h"
#include "module_service.h"
#include "socket_twin.h"

#include <asio/ip/address.hpp>

namespace zel::simulator {

namespace {

using namespace std::chrono_literals;

constexpr milliseconds kRetryTime = 200ms;

} // namespace

ModuleCore::ModuleCore(asio::io_context& context, ModuleSettings settings)
    : m_context(context),
      m_settings(std::move(settings)),
      m_calls(m_settings.keptCalls, m_settings.keptBytes),
      m_acceptor(context),
      m_timer(context),
      m_resumeTimer(context),
      m_model(m_settings, [this](milliseconds downtime) { restart(downtime); })
{
}

ModuleCore::~ModuleCore() = default;

void ModuleCore::listen()
{
    if (m_acceptor.is_open())
        return;
    const asio::ip::tcp::endpoint endpoint{asio::ip::make_address(m_settings.address),
                                           m_settings.port};
    asio::ip::tcp::acceptor acceptor{m_context, endpoint.protocol()};
    socket_twin::takeLingeringPort(acceptor);
    if (m_settings.receiveBuffer > 0)
        acceptor.set_option(asio::socket_base::receive_buffer_size{m_settings.receiveBuffer});
    acceptor.bind(endpoint);
    acceptor.listen();
    if (m_settings.port == 0)
        m_settings.port = acceptor.local_endpoint().port();
    m_model.parameters.setIdentity("Communication/Network/eth0/TcpPort",
                                   std::to_string(m_settings.port));
    m_acceptor = std::move(acceptor);
    m_model.isLeaving = false;
    accept();
}

void ModuleCore::stopListening()
{
    std::error_code ignored;
    ++m_generation;
    m_timer.cancel();
    m_acceptor.close(ignored);
}

void ModuleCore::dropConnections()
{
    for (const auto& connection : std::set{m_connections})
        connection->close();
}

void ModuleCore::resetConnections()
{
    for (const auto& connection : std::set{m_connections})
        connection->reset();
}

void ModuleCore::restart(milliseconds downtime)
{
    stopListening();
    dropConnections();
    m_model.isLeaving = true;
    m_model.restarted();
    retryAfter(downtime, &ModuleCore::comeBack);
}

void ModuleCore::stop()
{
    stopListening();
    dropConnections();
}

void ModuleCore::resumeReading()
{
    for (const auto& connection : std::set{m_connections})
        connection->resumeReading();
}

void ModuleCore::resumeReadingAfter(milliseconds time)
{
    m_resumeTimer.expires_after(time + milliseconds{1});
    m_resumeTimer.async_wait([this](const std::error_code& error) {
        if (!error)
            resumeReading();
    });
}

MethodAnswer ModuleCore::answer(ReceivedCall call, std::uint64_t connection)
{
    MethodCall request{call.source, call.id, call.data, connection};
    m_calls.add(std::move(call));
    if (m_model.isLeaving) {
        MethodAnswer none;
        none.silent = true;
        return none;
    }
    try {
        if (const MethodHandler handler = handlerOf(request.id))
            return handler(request);
        MethodAnswer answer = answerMethod(m_model, request);
        if (m_settings.answersScans)
            followNetworkSettings(answer);
        return answer;
    } catch (const std::exception& failure) {
        return MethodAnswer{kFailed, failure.what()};
    }
}

void ModuleCore::followNetworkSettings(MethodAnswer& answer)
{
    const auto wanted = m_model.parameters.value("Communication/Network/eth0/IpAdr");
    if (!wanted || *wanted == m_settings.address)
        return;
    // The answer leaves by the old address.
    answer.afterwards = [this, earlier = std::move(answer.afterwards), address = *wanted] {
        if (earlier)
            earlier();
        moveTo(address);
    };
}

void ModuleCore::moveTo(const std::string& address)
{
    m_settings.address = address;
    stopListening();
    dropConnections();
    comeBack();
}

void ModuleCore::forget(ModuleConnection& connection)
{
    m_model.measurements.unsubscribe(connection.number());
    m_connections.erase(connection.shared_from_this());
}

ModuleStatistics ModuleCore::statistics() const
{
    return {m_accepted, m_badTelegrams, m_misaddressed};
}

void ModuleCore::setHandler(MethodId id, MethodHandler handler)
{
    const std::lock_guard lock{m_handlersMutex};
    if (handler)
        m_handlers[id] = std::move(handler);
    else
        m_handlers.erase(id);
}

MethodHandler ModuleCore::handlerOf(MethodId id)
{
    const std::lock_guard lock{m_handlersMutex};
    const auto found = m_handlers.find(id);
    return found == m_handlers.end() ? MethodHandler{} : found->second;
}

void ModuleCore::accept()
{
    m_acceptor.async_accept([this, generation = m_generation](const std::error_code& error,
                                                              asio::ip::tcp::socket socket) {
        if (generation != m_generation)
            return;
        if (error) // out of descriptors, or a host that hung up at once
            return retryAfter(kRetryTime, &ModuleCore::accept);
        accepted(std::move(socket));
        accept();
    });
}

void ModuleCore::accepted(asio::ip::tcp::socket socket)
{
    if (m_connections.size() >= m_settings.maxConnections || m_model.isLeaving)
        return;
    const std::uint64_t number = ++m_accepted;
    const auto connection = std::make_shared<ModuleConnection>(std::move(socket), *this, number);
    m_connections.insert(connection);
    connection->start();
}

void ModuleCore::comeBack()
{
    try {
        listen();
    } catch (const std::system_error&) {
        retryAfter(kRetryTime, &ModuleCore::comeBack);
    }
}

void ModuleCore::retryAfter(milliseconds time, void (ModuleCore::*action)())
{
    m_timer.expires_after(time);
    m_timer.async_wait([this, action, generation = m_generation](const std::error_code& error) {
        if (!error && generation == m_generation)
            (this->*action)();
    });
}

} // namespace zel::simulator
