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

    /// The same, and waits until the flag is set, which the reply must cause. Receives on
    /// this connection itself meanwhile where it can. -1: it was not sent, and nobody has waited.
    /// Not inside a callback, and without any lock.
    virtual int sendAndWait(std::span<const Bytes> payload, sys::EventFlag& flag) = 0;
};

} // namespace zel
