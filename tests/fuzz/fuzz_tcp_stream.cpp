// Any bytes on a module's TCP connection, in one piece or in several: the handler cuts telegrams
// out of them as long as they are good, and reports the connection's loss exactly once.

#include "requestor_registry.h"
#include "tcp_telegram_handler.h"
#include "timer.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace zel;

/// A socket that listens, for as long as the process lives.
struct Listening {
    Listening()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            listen(socket, 4) != 0 ||
            getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            std::abort();
        port = std::to_string(ntohs(address.sin_port));
    }

    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    std::string port;
};

/// Connects, and gives the module's end.
int connectOverLoopback(communication::SocketNonblocking& host)
{
    static const Listening listening;
    if (host.connect("127.0.0.1", listening.port) != 0)
        std::abort();
    const int module = accept(listening.socket, nullptr, nullptr);
    // Ended with RST, so that no port waits: the fuzzer opens thousands a second.
    const linger none{1, 0};
    setsockopt(module, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    return module;
}

/// The fuzzer's own clock interrupts whatever is under way; what blocks must go on.
bool makeAlarmsRestartCalls()
{
    struct sigaction action {};
    sigaction(SIGALRM, nullptr, &action);
    action.sa_flags |= SA_RESTART;
    return sigaction(SIGALRM, &action, nullptr) == 0;
}

class Listener : public iTransactionHandler {
public:
    explicit Listener(sys::EventLoop& loop) : m_loop(loop) {}

    void transactionArrived(std::uint64_t source, std::unique_ptr<clRxTelContainer> telegram,
                            clTcpTelHndlr& connection) override
    {
        if (!telegram || telegram->size() > 65535 || losses != 0)
            std::abort();
        ++arrivals;
        requestorRegistry().dispatch({source, connection.connectionId(), 0}, std::move(telegram));
    }
    void connectionLost(clTcpTelHndlr& connection) override
    {
        ++losses;
        connection.close();
        m_loop.stop();
    }

    int arrivals = 0;
    int losses = 0;

private:
    sys::EventLoop& m_loop;
};

std::size_t bigEndian(const std::uint8_t* bytes, std::size_t size)
{
    std::size_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | bytes[i];
    return value;
}

/// How many good telegrams the stream begins with.
int goodTelegrams(const std::uint8_t* data, std::size_t size)
{
    int count = 0;
    while (size >= 20 && size >= 20 + bigEndian(data + 6, 2)) {
        const std::size_t length = 20 + bigEndian(data + 6, 2);
        // Start, header length and type; at the end the trailer.
        if (bigEndian(data, 6) != 0x123456781001 || bigEndian(data + length - 4, 4) != 0x87654321)
            break;
        ++count;
        data += length;
        size -= length;
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool areAlarmsHarmless = makeAlarmsRestartCalls();
    if (size < 1 || !areAlarmsHarmless)
        return 0;
    // The first byte says where the stream is cut in two.
    const std::size_t cut = std::min<std::size_t>(data[0], size - 1);
    ++data;
    --size;

    sys::EventLoop loop;
    Listener listener{loop};
    int module = -1;
    {
        auto socket = std::make_shared<communication::SocketNonblocking>(loop);
        module = connectOverLoopback(*socket);
        const auto handler =
            std::make_shared<clTcpTelHndlr>(std::move(socket), 0x1234, 0x5678, listener);
        if (send(module, data, cut, MSG_NOSIGNAL) < 0)
            std::abort();
        handler->start();
        sys::Timer later{loop};
        later.set(0, [&] {
            // The handler may have given the connection up by now: then the rest does not arrive.
            static_cast<void>(!send(module, data + cut, size - cut, MSG_NOSIGNAL));
            shutdown(module, SHUT_WR);
        });
        loop.execute();
    }
    close(module);
    if (listener.losses != 1 || listener.arrivals != goodTelegrams(data, size))
        std::abort();
    return 0;
}
