#pragma once

namespace zel::sys {

// Twins: Winsock 2.2 on Windows; Linux has nothing to load, and always succeeds.
bool startSocketLibrary();
bool stopSocketLibrary();

/// Keeps the socket library loaded while it lives. Every object with sockets has one; the system
/// counts them.
class SocketLibraryUse {
public:
    SocketLibraryUse() { startSocketLibrary(); }
    ~SocketLibraryUse() { stopSocketLibrary(); }
    SocketLibraryUse(const SocketLibraryUse&) = delete;
    SocketLibraryUse& operator=(const SocketLibraryUse&) = delete;
};

} // namespace zel::sys
