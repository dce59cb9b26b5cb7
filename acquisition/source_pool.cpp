#include "source_pool.h"

#include <algorithm>
#include <system_error>

namespace zel::acquisition {

namespace {

constexpr std::size_t kFewThreads = 2;
// A module keeps its samples for longer than that.
constexpr std::chrono::milliseconds kOverdue{100};
constexpr std::size_t kBlock = std::size_t{4} << 20U;

} // namespace

SourcePool::SourcePool(const std::vector<std::unique_ptr<Source>>& sources) : m_sources(sources)
{
    const Clock::time_point now = Clock::now();
    for (std::size_t i = 0; i < sources.size(); ++i)
        m_due.insert({now, i});
    try {
        const std::lock_guard lock{m_mutex};
        while (m_threads.size() < std::min(kFewThreads, sources.size()))
            addThreadLocked();
        m_watcher = std::thread{[this] { watch(); }};
    } catch (const std::exception&) {
        stop();
        throw;
    }
}

void SourcePool::addThreadLocked()
{
    m_threads.emplace_back([this] { work(); });
}

void SourcePool::stop()
{
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock{m_mutex};
        m_mustStop = true;
        threads.swap(m_threads);
    }
    m_condition.notify_all();
    m_watchCondition.notify_all();
    if (m_watcher.joinable())
        m_watcher.join();
    for (std::thread& thread : threads)
        thread.join();
}

std::size_t SourcePool::threads() const
{
    const std::lock_guard lock{m_mutex};
    return m_threads.size();
}

void SourcePool::work()
{
    Block block{kBlock};
    std::unique_lock lock{m_mutex};
    while (!m_mustStop) {
        if (m_due.empty() || m_due.begin()->time > Clock::now()) {
            if (m_due.empty() || m_due.begin()->time == Clock::time_point::max())
                m_condition.wait(lock);
            else
                m_condition.wait_until(lock, Clock::time_point{m_due.begin()->time});
            continue;
        }
        Due due = *m_due.begin();
        m_due.erase(m_due.begin());
        lock.unlock();
        due.time = m_sources[due.source]->step(block);
        lock.lock();
        m_due.insert(due);
        // Others may sleep for one that comes later.
        m_condition.notify_one();
    }
}

/// Adds a thread when a source has waited for one for too long.
void SourcePool::watch()
{
    std::unique_lock lock{m_mutex};
    while (!m_mustStop) {
        m_watchCondition.wait_for(lock, kOverdue / 2);
        const bool isOverdue =
            !m_due.empty() && m_due.begin()->time < Clock::now() - kOverdue;
        if (m_mustStop || !isOverdue || m_threads.size() >= m_sources.size())
            continue;
        try {
            addThreadLocked();
        } catch (const std::system_error&) {
            // The ones that are there go on.
        }
    }
}

} // namespace zel::acquisition
