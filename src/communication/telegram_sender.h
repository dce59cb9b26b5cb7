#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <span>

namespace zel {

namespace sys {
class EventFlag;
}

/// A way for the payload of one telegram to leave; the sender adds the frame.
class iTelegramSender {
public:
    virtual ~iTelegramSender() = default;

    /// 0 or -1. May block as long as the peer takes nothing, see the implementation.
    virtual int send(std::span<const Bytes> payload) = 0;
    /// Tells connections apart, also when they go to the same module one after the other; 0 where
    /// there is no connection.
    virtual std::uint64_t connectionId() const = 0;

    /// A thread that is going to wait for the answer to what it sends may ask to receive on this
    /// connection itself; false when somebody does already, or nobody can. Each success is followed
    /// by one endReception(). It ends by itself when the thread has to wait for its turn or for
    /// room to send, for it would not receive meanwhile, and others wait for answers too.
    virtual bool beginReception() { return false; }
    /// Receives whatever comes, for whomever, until the flag is set or nothing has come for some
    /// milliseconds. Without any of the transactions' locks.
    virtual void receiveUntil(const sys::EventFlag&) {}
    virtual void endReception() {}
};

} // namespace zel
