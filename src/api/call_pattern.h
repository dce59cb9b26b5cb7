#pragma once

#include "cancellation.h"
#include "library.h"
#include "system_manager.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace zel {

/// The pointers that an export needs.
using Required = std::initializer_list<const void*>;

/// Lets a size stand among the required pointers: a size of 0 counts as a null pointer.
inline const void* orNull(std::uint64_t size)
{
    static constexpr char kPresent = 0;
    return size == 0 ? nullptr : &kPresent;
}

/// Flags of the interface are true only when they are exactly 1.
inline bool isTrue(std::int32_t flag)
{
    return flag == 1;
}

inline bool isOneNull(Required pointers)
{
    return std::ranges::any_of(pointers, [](const void* pointer) { return pointer == nullptr; });
}

/// Nothing is thrown into the host: whatever the work throws says that an object could not be had.
template <class Work>
std::int32_t withoutThrowing(Work&& work) noexcept
{
    const sys::CancellationWaits wholeCall;
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return ZEL_SYS_NO_OBJECT;
    }
}

/// The pattern of an export that works also when the library is not started: pointers, then work().
template <class Work>
std::int32_t checked(Required pointers, Work&& work) noexcept
{
    if (isOneNull(pointers))
        return ZEL_SYS_BAD_PARAMETER;
    return withoutThrowing(std::forward<Work>(work));
}

/// The pattern of an ordinary export: started, then pointers, then work(manager).
template <class Work>
std::int32_t forward(Required pointers, Work&& work) noexcept
{
    return withoutThrowing([&] {
        const CallInside inside;
        clSystemMgr* const mgr = manager();
        if (mgr == nullptr)
            return ZEL_SYS_NOT_STARTED;
        return checked(pointers, [&] { return std::int32_t{work(*mgr)}; });
    });
}

} // namespace zel
