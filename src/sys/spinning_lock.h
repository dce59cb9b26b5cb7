#pragma once

#include <mutex>

namespace zel::sys {

inline void relaxProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

/// Locks a mutex that is usually held for a microsecond or two: going to sleep for it would cost
/// more than the wait.
template <class Mutex>
class SpinningLock {
public:
    explicit SpinningLock(Mutex& mutex) : m_mutex(mutex)
    {
        for (int attempt = 0; attempt < 200; ++attempt) {
            if (m_mutex.try_lock())
                return;
            relaxProcessor();
        }
        m_mutex.lock();
    }
    ~SpinningLock() { m_mutex.unlock(); }
    SpinningLock(const SpinningLock&) = delete;
    SpinningLock& operator=(const SpinningLock&) = delete;

private:
    Mutex& m_mutex;
};

} // namespace zel::sys
