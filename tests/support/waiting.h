#pragma once

#include <chrono>
#include <thread>

namespace zel::test {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// Sanitizers and a busy machine are slow: the upper bounds of times have this much room.
inline constexpr Milliseconds kSlack = 1500ms;

template <class Condition>
bool eventually(Condition holds, Milliseconds time = 5000ms)
{
    const auto end = Clock::now() + time;
    while (!holds()) {
        if (Clock::now() >= end)
            return false;
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

class Stopwatch {
public:
    Milliseconds elapsed() const
    {
        return std::chrono::duration_cast<Milliseconds>(Clock::now() - m_start);
    }

private:
    const Clock::time_point m_start = Clock::now();
};

} // namespace zel::test
