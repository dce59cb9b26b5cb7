#pragma once

#include <chrono>
#include <mutex>

namespace zel {

// The locks of the whole library. Those of MinGW ask for memory when they are first used, which
// may be when there is none, on a thread that has nobody to tell; these never do.

class Mutex {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock();
    bool try_lock();
    void unlock();

private:
    friend class ConditionVariable;

    void* m_lock = nullptr; // the system's SRWLOCK
};

class ConditionVariable {
public:
    constexpr ConditionVariable() noexcept = default;
    ConditionVariable(const ConditionVariable&) = delete;
    ConditionVariable& operator=(const ConditionVariable&) = delete;

    void notify_one();
    void notify_all();
    template <class Condition>
    void wait(std::unique_lock<Mutex>& lock, Condition holds)
    {
        while (!holds())
            sleep(*lock.mutex(), std::chrono::milliseconds::max());
    }
    template <class Duration, class Condition>
    bool wait_for(std::unique_lock<Mutex>& lock, Duration limit, Condition holds)
    {
        return wait_until(lock, std::chrono::steady_clock::now() + limit, holds);
    }
    template <class Time, class Condition>
    bool wait_until(std::unique_lock<Mutex>& lock, Time end, Condition holds)
    {
        while (!holds()) {
            const auto left = end - Time::clock::now();
            if (left <= left.zero())
                return false;
            sleep(*lock.mutex(), std::chrono::ceil<std::chrono::milliseconds>(left));
        }
        return true;
    }

private:
    /// May end early, as waiting may.
    void sleep(Mutex& mutex, std::chrono::milliseconds limit);

    void* m_variable = nullptr; // the system's CONDITION_VARIABLE
};

} // namespace zel
