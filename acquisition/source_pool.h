#pragma once

#include "source.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace zel::acquisition {

/// Few threads for many sources. Where modules do not answer, and all threads wait for them, there
/// will be more, so that the others are fetched in time.
class SourcePool {
public:
    /// The sources must have begun, and outlive this.
    explicit SourcePool(const std::vector<std::unique_ptr<Source>>& sources);
    ~SourcePool() { stop(); }
    SourcePool(const SourcePool&) = delete;
    SourcePool& operator=(const SourcePool&) = delete;

    /// Steps no more; waits for those that are under way.
    void stop();

    /// That are running now.
    std::size_t threads() const;

private:
    using Clock = Source::Clock;
    struct Due {
        Clock::time_point time;
        std::size_t source;

        auto operator<=>(const Due&) const = default;
    };

    void work();
    void watch();
    void addThreadLocked();

    const std::vector<std::unique_ptr<Source>>& m_sources;

    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    std::condition_variable m_watchCondition;
    // under m_mutex
    std::set<Due> m_due;
    std::vector<std::thread> m_threads;
    bool m_mustStop = false;

    std::thread m_watcher;
};

} // namespace zel::acquisition
