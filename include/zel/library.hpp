/**
 * @file library.hpp
 * The started library. Included by ZEL_VR_Framework.hpp.
 */
#ifndef ZEL_LIBRARY_HPP
#define ZEL_LIBRARY_HPP

#include "error.hpp"

#include <cstdint>
#include <exception>
#include <mutex>
#include <string>

namespace zel {

/// The library is started for as long as one of these lives (ZEL_Init, ZEL_Unload).
///
/// Any number may live at the same time: they are counted, and the last one stops the library,
/// which closes every connection. Copying and moving make one more, and none is ever without the
/// library; assigning changes nothing. Every Module, Subscription and PendingFetch holds one, so
/// that a program needs none of its own; one in main() saves starting anew.
///
/// A library that was started already when the first one was made, by ZEL_Init, is left started by
/// the last: who started it stops it. ZEL_Unload must not be called while one of these lives. What
/// is counted is counted in one program or DLL: where several of one process use this header and
/// the library goes on being used, one of them has to hold a Library for all, or ZEL_Init be
/// called.
///
/// Threads: any. On Windows not in DllMain, nor in a constructor of a DLL's global object. A forked
/// child (Linux) is not started before it makes a Library of its own; while a process forks, no
/// other of its threads may be making or destroying one.
class Library {
public:
    /// Starts the library if nobody has. Throws Error with the code ZEL_SYS_NO_OBJECT where the
    /// host has no thread, descriptors or memory for it; its codeText() says which.
    Library() { start(); }
    /// Stops it if this is the last one and the first one started it; waits for the network thread,
    /// which ends at once.
    ~Library() { stop(); }
    Library(const Library&) : Library() {}
    Library& operator=(const Library&) noexcept { return *this; }

    /// Four numbers joined by "." (ZEL_XUTIL_GetDllVersion). Works without a Library.
    static std::string version() { return ZEL_XUTIL_GetDllVersion(); }

    /// The library's text for a result code (ZEL_XUTIL_GetText); "" when it has none, and while no
    /// Library lives.
    static std::string textOf(std::int32_t code) { return detail::codeText(ZEL_NO_MODULE, code); }

    /// The library's own UUID, by which modules know it (ZEL_XCOM_GetOwnUUID). Works without a
    /// Library.
    static std::uint64_t ownUuid() { return ZEL_XCOM_GetOwnUUID(); }

private:
    struct Count {
        std::mutex
            mutex; // held while the library starts and stops: the last must not stop the next
        std::uint64_t living = 0;
        bool isOurs = false;
    };

    static Count& count()
    {
        static Count& one = *new Count; // outlives every global object
        return one;
    }

    static void start()
    {
        const std::lock_guard lock(count().mutex);
        if (count().living == 0)
            count().isOurs =
                std::string_view(ZEL_XUTIL_GetText(ZEL_FAILED)) == "ERR_SYS_FRAMEWORK_START";
        try {
            ZEL_Init(); // also for a forked child, whose parent has counted
        } catch (const std::exception& error) {
            throw Error({.code = ZEL_SYS_NO_OBJECT,
                         .tried = "start the library",
                         .codeText = error.what()});
        }
        ++count().living;
    }

    static void stop()
    {
        const std::lock_guard lock(count().mutex);
        if (--count().living == 0 && count().isOurs)
            ZEL_Unload();
    }
};

} // namespace zel

#endif
