#include "client.h"

#include "requestor_registry.h"

namespace zel {

namespace {

void run(sys::EventLoop& loop)
{
    loop.execute();
    // A loop that ended by itself delivers nothing more, not even a time-out: whoever waits must
    // not wait for ever.
    if (!loop.canRun())
        requestorRegistry().connectionLost(clRequestorRegistry::kEveryConnection);
}

} // namespace

Client::LoopThread::LoopThread(sys::EventLoop& loop)
    : m_loop(loop), m_thread([&loop] { run(loop); })
{
    // The thread has told the event log of it.
    if (const std::error_code failure = loop.failure())
        throw std::system_error{failure};
}

Client::LoopThread::~LoopThread()
{
    stop();
}

void Client::LoopThread::stop()
{
    m_loop.stop();
    m_thread.join();
}

Client::Client()
    : m_loopThread(m_loop),
      m_transactions(m_connections),
      m_multicasts(m_loop, m_transactions),
      m_broadcasts(m_loop, m_transactions)
{
}

Client::~Client()
{
    m_loopThread.stop();
    // Scans own themselves and would wait for a timer that never expires any more.
    requestorRegistry().connectionLost(clRequestorRegistry::kEveryConnection);
}

} // namespace zel
