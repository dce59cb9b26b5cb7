#pragma once

#include <chrono>

namespace zel::sys {

inline void relaxProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

/// A thread's leave to look again and again for what it waits for instead of sleeping: waking a
/// sleeping thread costs about as much as a whole round trip in a local network. Only for a thread
/// that is the only one that waits, on a machine with a processor to spare, and only now and then
/// after looking has been in vain. Lives as long as the wait.
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
        const auto until = std::chrono::steady_clock::now() + kSpinningTime;
        do {
            for (int i = 0; i < 8; ++i) {
                if (hasHappened()) {
                    learn(true);
                    return true;
                }
                relaxProcessor();
            }
        } while (isAlone() && std::chrono::steady_clock::now() < until);
        learn(false);
        return false;
    }

private:
    static constexpr std::chrono::microseconds kSpinningTime{20};

    static bool mayBegin();
    static bool isAlone();
    static void learn(bool paid);
};

} // namespace zel::sys
