#pragma once

#include <cstdint>

namespace zel::bench {

/// A simulated module in a process of its own that measures as fast as it is asked: blocks of
/// 32-bit floats come back full.
class MeasuringModule {
public:
    /// Forks; before the process has any other thread.
    MeasuringModule();
    ~MeasuringModule();
    MeasuringModule(const MeasuringModule&) = delete;
    MeasuringModule& operator=(const MeasuringModule&) = delete;

    std::uint16_t port() const { return m_port; }

private:
    std::uint16_t m_port = 0;
    int m_process = -1;
};

MeasuringModule& measuringModule();

} // namespace zel::bench
