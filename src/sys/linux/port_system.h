#pragma once

#include <atomic>
#include <memory>
#include <system_error>

namespace zel::sys {

struct Event;

/// What the port is here: one epoll for input, which watches another one for room to send.
class PortSystem {
public:
    PortSystem();
    ~PortSystem();
    PortSystem(const PortSystem&) = delete;
    PortSystem& operator=(const PortSystem&) = delete;

    /// Why there is nothing to wait on; empty where there is.
    std::error_code failure() const { return m_failure; }
    /// Reports the event once when its socket takes bytes again, whether its input is ignored or
    /// not.
    bool watchRoom(const Event& event);

protected:
    static constexpr int kBatch = 64;

    // loop thread only: what one epoll_wait brought and is not handed out yet
    struct Batch;
    std::unique_ptr<Batch> m_batch; // first: without memory for it there is nothing to close
    std::unique_ptr<Batch> m_roomBatch;

    std::error_code m_failure;
    int m_epoll = -1;
    int m_wakeUp = -1;
    int m_roomEpoll = -1;
    std::atomic<bool> m_mustStop = false;
};

} // namespace zel::sys
