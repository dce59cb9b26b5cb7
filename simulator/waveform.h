#pragma once

#include <cstdint>
#include <span>

namespace zel::simulator {

/// What a simulated quantity does. Every value is a function of the sample's number alone, the same
/// on all platforms: what a host has received can be checked sample for sample.
struct Waveform {
    enum class Kind {
        sine,
        ramp, ///< from -1 up to 1 within a period
        square,
        noise,   ///< evenly spread from -1 to 1
        counter, ///< the sample's number modulo kCounterPeriod, without amplitude and centre
    };
    /// Every data type holds the numbers below it exactly.
    static constexpr std::uint64_t kCounterPeriod = 1u << 24;

    double at(std::uint64_t number) const;
    /// The values of the samples from `first` on.
    void fill(std::uint64_t first, std::span<double> values) const;

    Kind kind = Kind::sine;
    std::uint64_t step = 0; ///< periods from one sample to the next, times 2^64
    double amplitude = 1;
    double centre = 0;
    std::uint64_t seed = 0; ///< of the noise

private:
    template <class Shape>
    void fillScaled(std::uint64_t first, std::span<double> values, Shape shape) const;
};

/// numerator / denominator of a period as Waveform::step. Rounded up: a sample that falls on the
/// beginning of a period never lies before it. The denominator is at least 1 and below 2^63.
constexpr std::uint64_t phaseStep(std::uint64_t numerator, std::uint64_t denominator)
{
    std::uint64_t rest = numerator % denominator;
    std::uint64_t step = 0;
    for (int bit = 0; bit < 64; ++bit) {
        rest *= 2;
        step = step * 2 + (rest >= denominator ? 1 : 0);
        rest -= rest >= denominator ? denominator : 0;
    }
    return step + (rest != 0 ? 1 : 0);
}

/// Spreads the bits of a number evenly; different seeds give independent ones.
constexpr std::uint64_t scatter(std::uint64_t number, std::uint64_t seed)
{
    std::uint64_t bits = number * 0x9E3779B97F4A7C15 + seed * 0xD1B54A32D192ED03;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
    return bits ^ (bits >> 31);
}

} // namespace zel::simulator
