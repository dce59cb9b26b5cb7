#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zel::sys {

/// Lets one thread through at a time; the others wait for a limited time only.
class Turnstile {
public:
    /// Holds the turnstile while it lives, if it got through in time.
    class Pass {
    public:
        Pass(Turnstile& turnstile, std::chrono::milliseconds limit)
            : m_turnstile(turnstile), m_isThrough(turnstile.enter(limit))
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
    bool enter(std::chrono::milliseconds limit)
    {
        std::unique_lock lock{m_mutex};
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

    std::mutex m_mutex;
    std::condition_variable m_isFree;
    bool m_isTaken = false; // under m_mutex
};

} // namespace zel::sys
