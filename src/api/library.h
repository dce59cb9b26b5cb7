#pragma once

#include <atomic>

namespace zel {

class clSystemMgr;

/// One call that uses the manager: made before manager() is asked, kept until the call returns.
class CallInside {
public:
    CallInside();
    ~CallInside() { m_count.fetch_sub(1); }
    CallInside(const CallInside&) = delete;
    CallInside& operator=(const CallInside&) = delete;

private:
    std::atomic<int>& m_count;
};

/// The one manager; null while the library is not started, also in a forked child of a process that
/// has started it. Takes no lock: it is for the host not to unload while calls are running.
clSystemMgr* manager();

/// Makes the manager unless there is one. Throws std::system_error or std::bad_alloc, with nothing
/// held and nothing left over, when it cannot be made.
void startLibrary();

/// Destroys the manager, if there is one.
void stopLibrary();

/// As stopLibrary(), but lets the manager go as it is when calls are inside the library.
void stopLibraryUnlessInUse() noexcept;

/// Lets the manager go as it is. For the end of the process, when the other threads are gone and
/// may have died with locks held: takes no lock and joins nothing.
void abandonLibrary() noexcept;

} // namespace zel
