#pragma once

#include "byte_cursor.h"

#include <cstdint>
#include <span>

namespace zel {

/// A way for the payload of one telegram to leave; the sender adds the frame.
class iTelegramSender {
public:
    virtual ~iTelegramSender() = default;

    /// 0 or -1. May block as long as the peer takes nothing, see the implementation.
    virtual int send(std::span<const Bytes> payload) = 0;
    /// Tells connections apart, also when they go to the same module one after the other; 0 where
    /// there is no connection.
    virtual std::uint64_t connectionId() const = 0;
};

} // namespace zel
