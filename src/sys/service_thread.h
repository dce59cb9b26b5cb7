#pragma once

#include <functional>
#include <memory>

namespace zel::sys {

/// A thread that is running when its constructor returns. The constructor fails after some seconds
/// under the Windows loader lock, which a thread needs to start. join() may be called under the
/// Windows loader lock: it waits for the body's end, not for the thread's, and no code of the
/// library runs on the thread after its body.
class ServiceThread {
public:
    /// Throws std::system_error (resource_unavailable_try_again) when no thread can be had; the
    /// body does not run then.
    explicit ServiceThread(std::function<void()> body);
    ~ServiceThread();
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    /// Does nothing on the thread itself or when called again.
    void join();

private:
    struct Twin;
    std::unique_ptr<Twin> m_twin;
};

} // namespace zel::sys
