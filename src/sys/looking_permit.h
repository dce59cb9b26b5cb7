#pragma once

#include "spinning_lock.h"

#include <chrono>

namespace zel::sys {

/// Leave to look again and again for what is about to happen instead of sleeping: waking a
/// sleeping thread costs about as much as a whole round trip in a local network. Never granted to
/// more threads than there are processors to spare, and only now and then after looking was in
/// vain.
class LookingPermit {
public:
    LookingPermit();
    ~LookingPermit();
    LookingPermit(const LookingPermit&) = delete;
    LookingPermit& operator=(const LookingPermit&) = delete;

    bool isGranted() const { return m_isGranted; }

    /// Looks for some microseconds; true as soon as `hasHappened` is.
    template <class HasHappened>
    bool look(HasHappened&& hasHappened) const
    {
        const auto until = std::chrono::steady_clock::now() + kLookingTime;
        do {
            for (int i = 0; i < 8; ++i) {
                if (hasHappened()) {
                    learn(true);
                    return true;
                }
                relaxProcessor();
            }
        } while (std::chrono::steady_clock::now() < until);
        learn(false);
        return false;
    }

private:
    static constexpr std::chrono::microseconds kLookingTime{50};

    static void learn(bool paid);

    bool m_isGranted = false;
};

} // namespace zel::sys
