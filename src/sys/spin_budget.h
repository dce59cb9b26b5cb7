#pragma once

#include <chrono>
#include <utility>

namespace zel::sys {

inline void relaxProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

/// A thread's leave to look again and again for what it waits for instead of sleeping: waking a
/// sleeping thread costs about as much as a whole round trip in a local network. Only for a thread
/// that is the only one that waits, on a machine with a processor to spare, and only seldom
/// after looking has been in vain some times. Lives as long as the wait.
class SpinBudget {
public:
    SpinBudget();
    ~SpinBudget();
    SpinBudget(const SpinBudget&) = delete;
    SpinBudget& operator=(const SpinBudget&) = delete;

    /// Looks for some microseconds, where it may; true as soon as `hasHappened` is.
    template <class HasHappened>
    bool spin(HasHappened&& hasHappened) const
    {
        if (!mayBegin())
            return false;
        // What is there already was no gain of looking.
        if (hasHappened())
            return true;
        Clock::time_point looked = Clock::now();
        const Clock::time_point until = looked + kSpinningTime;
        do {
            relaxProcessor();
            const Clock::time_point before = std::exchange(looked, Clock::now());
            if (hasHappened()) {
                // It may have happened because this thread had to leave its processor to others.
                learn(looked - before < kBreak && Clock::now() - looked < kBreak);
                return true;
            }
        } while (isAlone() && looked < until);
        if (looked >= until)
            learn(false);
        return false;
    }

private:
    using Clock = std::chrono::steady_clock;
    // The round trip of a request whose module need not be woken for long.
    static constexpr std::chrono::microseconds kSpinningTime{50};
    // Looking twice takes a third of it.
    static constexpr std::chrono::microseconds kBreak{4};

    static bool mayBegin();
    static bool isAlone();
    static void learn(bool paid);
};

} // namespace zel::sys
