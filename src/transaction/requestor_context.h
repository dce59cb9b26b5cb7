#pragma once

#include "requestor_base.h"
#include "telegram_sender.h"

#include <cstdint>
#include <memory>

namespace zel {

/// One of the ways by which a transaction reaches a module: the connection table, multicast over
/// the adapters, UDP broadcast.
class iRequestorContext {
public:
    virtual ~iRequestorContext() = default;

    virtual std::shared_ptr<clRequestorBase>
    createRequestor(std::uint64_t target, iTransactionOwner& owner, sys::EventLoop& loop) = 0;
};

} // namespace zel
