#pragma once

#include "byte_cursor.h"
#include "signal_description.h"

#include <cstdint>
#include <optional>
#include <span>

namespace zel::simulator {

/// One signal of a subscription. Nothing is stored of what it measures: the samples are worked out
/// when they are fetched. Times count from the start of the subscription.
class SignalStream {
public:
    SignalStream(SignalDescription signal, std::uint16_t userSignalId, std::uint64_t blockSize);

    const SignalPlace& place() const { return m_signal.place; }

    /// Looks at what the sensor does now; with `reconfigured` at the parameters, too. Sample rate
    /// and form of the records stay as they were.
    void look(const ModuleModel& model, bool reconfigured);

    /// How many samples have been taken until then, and have not been fetched.
    std::uint64_t countUntil(std::uint64_t time) const;
    std::uint64_t nextTime() const { return m_signal.times.at(m_next); }
    /// Forgets the samples before `time`; true when there were any.
    bool dropBefore(std::uint64_t time);

    std::size_t smallestRecord() const;
    /// The bytes of so many samples in one record, or in as many as they need.
    std::size_t sizeOf(std::uint64_t count) const;
    /// Writes one record with the next samples, at most `count` and what fits `out`, and returns
    /// its size; 0 when not even one sample fits.
    std::size_t writeRecord(std::uint64_t start, std::uint64_t count, MutableBytes out);

private:
    void writeSamples(std::uint64_t start, std::uint64_t first, std::size_t count,
                      MutableBytes out) const;
    void fill(std::uint64_t first, std::span<double> values) const;

    SignalDescription m_signal;
    const std::uint16_t m_userSignalId;
    const std::uint64_t m_blockSize;
    std::optional<double> m_fixed; // what the sensor gives instead of its waveform
    std::uint64_t m_next = 0;
    bool m_hasBegun = false;
};

} // namespace zel::simulator
