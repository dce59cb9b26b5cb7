#pragma once

namespace zel::sys {

/// Makes a cancellation of the calling thread by the host (pthread_cancel) wait until this object
/// is gone: it would unwind through code that nothing may be thrown out of, which ends the process.
/// Costs a few nanoseconds. Windows has no such thing.
class CancellationWaits {
public:
    CancellationWaits();
    ~CancellationWaits();
    CancellationWaits(const CancellationWaits&) = delete;
    CancellationWaits& operator=(const CancellationWaits&) = delete;

private:
    [[maybe_unused]] int m_before = 0;
};

} // namespace zel::sys
