#pragma once

#include "async_method_request.h"
#include "mutex.h"

#include <cstdint>
#include <map>
#include <memory>

namespace zel {

/// The asynchronous reads that are under way, by their handles.
///
/// Its lock is held while a read waits: one read or start at a time. It is taken by callers of the
/// library only, never inside a callback.
class clAsyncCom {
public:
    explicit clAsyncCom(iRequestorContext& context) : m_context(context) {}

    /// Sends a block request. Its handle is its transaction's label: an older read that nobody
    /// collected is given up when its handle comes round again, which is when every other one is
    /// in use. ZEL_SYS_NO_OBJECT when each belongs to a request under way.
    std::int32_t startBlock(std::uint64_t uuid, const AsyncBuffer& buffer, std::uint32_t& handle);

    /// The result of a read, whose handle is used up, also when the time was over first and the
    /// read is given up: ZEL_UTIL_WAIT_TIMEOUT. ZEL_INDEX_OUT_OF_RANGE for an unknown handle.
    std::int32_t read(std::uint32_t handle, std::uint32_t milliseconds);

private:
    using Pending = std::map<std::uint32_t, std::shared_ptr<clAsyncMthdReqrSrv>>;

    iRequestorContext& m_context;

    // under m_mutex
    Mutex m_mutex;
    Pending m_pending;
};

} // namespace zel
