#include "service_thread.h"

#include <csignal>
#include <thread>

namespace zel::sys {

struct ServiceThread::Twin {
    std::thread thread;
};

ServiceThread::ServiceThread(std::function<void()> body) : m_twin(std::make_unique<Twin>())
{
    // The host's signals are for the host's threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        m_twin->thread = std::thread{std::move(body)};
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ServiceThread::~ServiceThread()
{
    join();
}

void ServiceThread::join()
{
    if (!m_twin->thread.joinable())
        return;
    if (m_twin->thread.get_id() == std::this_thread::get_id())
        m_twin->thread.detach();
    else
        m_twin->thread.join();
}

} // namespace zel::sys
