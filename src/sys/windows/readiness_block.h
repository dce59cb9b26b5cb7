#pragma once

#include "port_system.h"
#include "readiness.h"
#include "timer.h"

#include <winsock2.h>
#include <windows.h>

namespace zel::sys {

/// The memory of overlapped operations on one socket. The kernel writes to it until an operation
/// completes and the port hands its address out afterwards, so that every operation under way
/// holds a reference in addition to the owner's.
struct ReadinessBlock {
    OVERLAPPED overlapped{};            // first: the port knows the block by this address
    WSAEVENT event = WSA_INVALID_EVENT; // stays invalid in a block for sending
    std::atomic<int> references = 1;
    std::atomic<bool> isAbandoned = false;

    // Belongs to the owner, who takes it away before the loop can be gone.
    std::unique_ptr<Timer> retry;

    // What is being sent, until its owner has learnt what became of it.
    std::shared_ptr<const void> departing;

    // A datagram that is being received; the buffer is the caller's too.
    std::shared_ptr<DatagramBuffer> datagram;
    WSAMSG message{};
    WSABUF part{};
    sockaddr_storage source{};
    alignas(std::uint64_t) char control[128];

    void release()
    {
        if (--references > 0)
            return;
        // Closed last: until here no other block can get this handle, and with it this id.
        if (event != WSA_INVALID_EVENT)
            WSACloseEvent(event);
        delete this;
    }

    bool isPending() const { return overlapped.Internal == static_cast<ULONG_PTR>(STATUS_PENDING); }
    void begin(PortSystem& port)
    {
        ++references;
        ++port.operationsUnderWay();
    }
    void takeBack(PortSystem& port)
    {
        --port.operationsUnderWay();
        release();
    }

    struct Completion {
        bool isAbandoned = false; // the owner is gone already
        bool isDeparture = false;
    };
    /// A completion has come out of the port.
    static Completion completed(OVERLAPPED* overlapped, PortSystem& port)
    {
        auto* const block = reinterpret_cast<ReadinessBlock*>(overlapped);
        const Completion completion{block->isAbandoned.load(), block->event == WSA_INVALID_EVENT};
        block->takeBack(port);
        return completion;
    }
};

} // namespace zel::sys
