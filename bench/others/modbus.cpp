#include "other_protocols.h"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <modbus/modbus.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace zel::bench {

namespace {

/// As many bytes as the value that ReadPar gives, in registers of two bytes.
constexpr int kRegisters = 5;

/// A context for loopback, whose port 0 is any free one.
modbus_t* makeContext(std::uint16_t port)
{
    modbus_t* const context = modbus_new_tcp("127.0.0.1", port);
    if (context == nullptr)
        throw std::runtime_error("no Modbus context");
    return context;
}

[[noreturn]] void answer(modbus_t* context, int listening)
{
    modbus_mapping_t* const registers = modbus_mapping_new(0, 0, kRegisters, 0);
    std::array<std::uint8_t, MODBUS_TCP_MAX_ADU_LENGTH> request;
    for (;;) {
        modbus_tcp_accept(context, &listening);
        for (int size = 0; (size = modbus_receive(context, request.data())) != -1;)
            if (size > 0)
                modbus_reply(context, request.data(), size, registers);
        modbus_close(context);
    }
}

std::uint16_t serve()
{
    modbus_t* const context = makeContext(0);
    const int listening = modbus_tcp_listen(context, 1);
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (listening < 0 ||
        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("Modbus cannot listen on loopback");
    std::thread{answer, context, listening}.detach();
    return ntohs(address.sin_port);
}

std::function<void()> connect(std::uint16_t port)
{
    const std::shared_ptr<modbus_t> context{makeContext(port), [](modbus_t* made) {
                                                modbus_close(made);
                                                modbus_free(made);
                                            }};
    if (modbus_connect(context.get()) != 0)
        throw std::runtime_error("no Modbus connection");
    return [context] {
        std::array<std::uint16_t, kRegisters> values;
        if (modbus_read_registers(context.get(), 0, kRegisters, values.data()) != kRegisters)
            throw std::runtime_error("a Modbus register was not read");
    };
}

const AddedProtocol added{{"libmodbus", serve, connect, {}}};

} // namespace

} // namespace zel::bench
