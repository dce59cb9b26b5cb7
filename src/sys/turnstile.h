#pragma once

#include "mutex.h"

#include <chrono>
#include <mutex>

namespace zel::sys {

/// Lets one thread through at a time; the others wait for a limited time only.
class Turnstile {
public:
    /// Holds the turnstile while it lives, if it got through in time.
    class Pass {
    public:
        /// Calls beforeWaiting() when it cannot go through at once.
        template <class BeforeWaiting>
        Pass(Turnstile& turnstile, std::chrono::milliseconds limit, BeforeWaiting&& beforeWaiting)
            : m_turnstile(turnstile), m_isThrough(turnstile.enter(limit, beforeWaiting))
        {
        }
        ~Pass()
        {
            if (m_isThrough)
                m_turnstile.leave();
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        explicit operator bool() const { return m_isThrough; }

    private:
        Turnstile& m_turnstile;
        const bool m_isThrough;
    };

private:
    template <class BeforeWaiting>
    bool enter(std::chrono::milliseconds limit, BeforeWaiting& beforeWaiting)
    {
        std::unique_lock lock{m_mutex};
        if (m_isTaken) {
            lock.unlock();
            beforeWaiting();
            lock.lock();
        }
        if (!m_isFree.wait_for(lock, limit, [this] { return !m_isTaken; }))
            return false;
        m_isTaken = true;
        return true;
    }
    void leave()
    {
        {
            const std::lock_guard lock{m_mutex};
            m_isTaken = false;
        }
        m_isFree.notify_one();
    }

    Mutex m_mutex;
    ConditionVariable m_isFree;
    bool m_isTaken = false; // under m_mutex
};

} // namespace zel::sys
