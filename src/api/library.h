#pragma once

namespace zel {

class clSystemMgr;

/// The one manager; null while the library is not started. Takes no lock: it is for the host not to
/// unload while calls are running.
clSystemMgr* manager();

/// Makes the manager unless there is one. Throws what its construction throws; there is none then.
void startLibrary();

/// Destroys the manager, if there is one.
void stopLibrary();

/// Lets the manager go as it is. For the end of the process, when the other threads are gone and
/// may have died with locks held: takes no lock and joins nothing.
void abandonLibrary();

} // namespace zel
