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

    /// 0 or -1. What was accepted leaves in order, or the connection ends. Never waits inside a
    /// callback, and elsewhere only for room, see the implementation. Throws std::bad_alloc where
    /// there is no memory to keep it until it can leave; then none of it does.
    virtual int send(std::span<const Bytes> payload) = 0;
    /// Tells connections apart, also when they go to the same module one after the other; 0 where
    /// there is no connection.
    virtual std::uint64_t connectionId() const = 0;

    /// A thread that is going to wait for the answer to what it sends may ask to receive on this
    /// connection itself; false when somebody does already, or nobody can. Each success is followed
    /// by one endReception(). It ends by itself when the thread has to wait for room to send,
    /// for it would not receive meanwhile, and others wait for answers too.
    virtual bool beginReception() { return false; }
    /// Receives whatever comes, for whomever, until the flag is set or nothing has come for some
    /// milliseconds. Without any of the transactions' locks.
    virtual void receiveUntil(const sys::EventFlag&) {}
    virtual void endReception() {}
};

} // namespace zel
