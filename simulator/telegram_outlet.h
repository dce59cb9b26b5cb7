#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

#include <asio/any_io_executor.hpp>

namespace zel::simulator {

struct OutgoingTelegram {
    /// Cuts it in the middle, where the connection then ends.
    void breakOff()
    {
        bytes.resize(bytes.size() / 2);
        endsConnection = true;
    }

    std::vector<std::byte> bytes;
    bool byteByByte = false;
    std::chrono::milliseconds gap{0};
    bool endsConnection = false; ///< when it has left
    std::function<void()> sent;  ///< may be empty; called once, also when the telegram is lost
};

class AnswerTransfer;

/// Where an answer leaves the module: the connection, or the datagram path, that asked for it.
class TelegramOutlet {
public:
    virtual ~TelegramOutlet() = default;

    virtual asio::any_io_executor executor() = 0;
    virtual void send(OutgoingTelegram telegram) = 0;
    virtual void reset() = 0;
    /// The transfer is over and needs no acknowledges any more.
    virtual void finished(const AnswerTransfer& transfer) = 0;
};

} // namespace zel::simulator
