#pragma once

#include "address_list.h"
#include "event_loop.h"
#include "native_stream.h"
#include "readiness.h"
#include "socket_library.h"
#include "wire_peer.h"

#include <thread>

#include <gtest/gtest.h>

namespace zel::test {

/// An event loop on a thread of its own.
class RunningLoop {
public:
    RunningLoop() = default;
    ~RunningLoop() { stop(); }
    RunningLoop(const RunningLoop&) = delete;
    RunningLoop& operator=(const RunningLoop&) = delete;

    sys::EventLoop& loop() { return m_loop; }
    /// The result of execute().
    int stop()
    {
        m_loop.stop();
        if (m_thread.joinable())
            m_thread.join();
        return m_result;
    }

private:
    const sys::SocketLibraryUse m_library;
    sys::EventLoop m_loop;
    int m_result = -99;
    std::thread m_thread{[this] { m_result = m_loop.execute(); }};
};

/// A socket that is only watched: what it gets stays unread unless drain() is called.
class WatchedSocket {
public:
    explicit WatchedSocket(sys::EventLoop& loop) : m_readiness(loop)
    {
        const communication::AddressList address{"127.0.0.1", m_peer.portText()};
        const auto& first = address.first();
        m_socket = communication::native::openStream(first.family);
        EXPECT_EQ(communication::native::connect(m_socket, first.address(), first.length()),
                  communication::native::Failure::none);
        communication::native::setStreamOptions(m_socket);
        m_readiness.setSocket(m_socket);
        m_peer.accept();
    }
    ~WatchedSocket()
    {
        erase();
        m_readiness.retire();
        communication::native::close(m_socket);
    }
    WatchedSocket(const WatchedSocket&) = delete;
    WatchedSocket& operator=(const WatchedSocket&) = delete;

    int watch(sys::EventCallback callback)
    {
        const int result = m_readiness.loop().addEvent(m_readiness.event(), std::move(callback));
        m_readiness.post();
        return result;
    }
    int erase() { return m_readiness.loop().eraseEvent(m_readiness.event()); }
    /// Takes one byte and asks for the next notice.
    void drain()
    {
        std::byte byte;
        communication::native::receive(m_socket, {&byte, 1}, {});
        m_readiness.post();
    }
    void notify() { m_peer.write("!"); }
    const sys::Event& event() const { return m_readiness.event(); }

private:
    sys::Readiness m_readiness;
    WirePeer m_peer;
    communication::native::NativeSocket m_socket{};
};

} // namespace zel::test
