#pragma once

#include "requestor_base.h"

#include <cstdint>
#include <memory>

namespace zel {

/// One of the ways by which a transaction reaches a module: the connection table, multicast over
/// the adapters, UDP broadcast. It makes the requestors, for one transaction each.
class iRequestorContext {
public:
    virtual ~iRequestorContext() = default;

    /// Always makes one; what stands in its way is what its send() answers. The context must live
    /// until that has returned.
    virtual std::shared_ptr<clRequestorBase> createRequestor(std::uint64_t target) = 0;
};

} // namespace zel
