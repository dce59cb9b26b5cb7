#include "fixed_answer_module.h"
#include "other_protocols.h"

#include <array>
#include <stdexcept>
#include <thread>

#include <zmq.h>

namespace zel::bench {

namespace {

struct Socket {
    explicit Socket(int type) : socket(zmq_socket(context, type))
    {
        const int noWait = 0;
        zmq_setsockopt(socket, ZMQ_LINGER, &noWait, sizeof noWait);
    }
    ~Socket()
    {
        zmq_close(socket);
        zmq_ctx_term(context);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void* context = zmq_ctx_new();
    void* socket;
};

[[noreturn]] void answer(void* socket)
{
    std::array<char, 256> bytes{};
    for (;;) {
        zmq_recv(socket, bytes.data(), bytes.size(), 0);
        zmq_send(socket, bytes.data(), readParAnswerSize(), 0);
    }
}

std::uint16_t serve()
{
    // Lives as long as the process.
    auto* const replying = new Socket{ZMQ_REP};
    std::array<char, 64> endpoint{};
    std::size_t length = endpoint.size();
    if (zmq_bind(replying->socket, "tcp://127.0.0.1:*") != 0 ||
        zmq_getsockopt(replying->socket, ZMQ_LAST_ENDPOINT, endpoint.data(), &length) != 0)
        throw std::runtime_error("ZeroMQ cannot listen on loopback");
    std::thread{answer, replying->socket}.detach();
    const std::string text{endpoint.data()};
    return static_cast<std::uint16_t>(std::stoi(text.substr(text.rfind(':') + 1)));
}

std::function<void()> connect(std::uint16_t port)
{
    const auto requesting = std::make_shared<Socket>(ZMQ_REQ);
    if (zmq_connect(requesting->socket, ("tcp://127.0.0.1:" + std::to_string(port)).c_str()) != 0)
        throw std::runtime_error("no ZeroMQ connection");
    return [requesting, request = readParTelegram()] {
        std::array<char, 256> bytes{};
        if (zmq_send(requesting->socket, request.data(), request.size(), 0) < 0 ||
            zmq_recv(requesting->socket, bytes.data(), bytes.size(), 0) < 0)
            throw std::runtime_error("a ZeroMQ round trip failed");
    };
}

const AddedProtocol added{{"ZeroMQ", serve, connect, {}}};

} // namespace

} // namespace zel::bench
