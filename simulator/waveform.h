#pragma once

#include <cstddef>
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
    void fillScaled(std::uint64_t first, std::span<double> values, Shape shape) const
    {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = centre + amplitude * shape(first + i);
    }
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

/// sin(2 pi phase / 2^64), right to ten digits. Written out, as the libraries' own differ in the
/// last digits.
constexpr double sineOf(std::uint64_t phase)
{
    // Mirrored at the quarter periods, so that the series stays short.
    const auto turn = static_cast<std::int64_t>(phase + 0x4000000000000000);
    const std::uint64_t mirrored = turn < 0 ? 0x8000000000000000 - phase : phase;
    const double angle = static_cast<double>(static_cast<std::int64_t>(mirrored)) *
                         (6.283185307179586476925286766559 / 18446744073709551616.0);
    const double square = angle * angle;
    double sum = -1.0 / 1307674368000;
    for (const double term :
         {1.0 / 6227020800, -1.0 / 39916800, 1.0 / 362880, -1.0 / 5040, 1.0 / 120, -1.0 / 6, 1.0})
        sum = sum * square + term;
    return sum * angle;
}

constexpr double rampOf(std::uint64_t phase)
{
    return static_cast<double>(static_cast<std::int64_t>(phase ^ 0x8000000000000000)) /
           9223372036854775808.0;
}

inline void Waveform::fill(std::uint64_t first, std::span<double> values) const
{
    switch (kind) {
    case Kind::sine:
        return fillScaled(first, values, [this](std::uint64_t i) { return sineOf(i * step); });
    case Kind::ramp:
        return fillScaled(first, values, [this](std::uint64_t i) { return rampOf(i * step); });
    case Kind::square:
        return fillScaled(first, values,
                          [this](std::uint64_t i) { return (i * step) >> 63 == 0 ? 1.0 : -1.0; });
    case Kind::noise:
        return fillScaled(first, values,
                          [this](std::uint64_t i) { return rampOf(scatter(i, seed)); });
    case Kind::counter:
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<double>((first + i) % kCounterPeriod);
    }
}

inline double Waveform::at(std::uint64_t number) const
{
    double value = 0;
    fill(number, {&value, 1});
    return value;
}

} // namespace zel::simulator
