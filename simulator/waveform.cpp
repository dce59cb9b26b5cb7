#include "waveform.h"

#include "widest_vectors.h"

#include <bit>

namespace zel::simulator {

namespace {

/// Exactly what a conversion gives, by steps that all vectors have: each half becomes the digits of
/// a large number, and only their sum is rounded.
ZEL_IN_VECTORS inline double toDouble(std::int64_t value)
{
    constexpr double kHighZero = 0x1p84 + 0x1p63;
    constexpr double kLowZero = 0x1p52;
    const auto bits = static_cast<std::uint64_t>(value) ^ 0x8000000000000000;
    const double high = std::bit_cast<double>(bits >> 32 | std::bit_cast<std::uint64_t>(0x1p84));
    const double low =
        std::bit_cast<double>((bits & 0xFFFFFFFF) | std::bit_cast<std::uint64_t>(kLowZero));
    return (high - (kHighZero + kLowZero)) + low;
}

/// sin(2 pi phase / 2^64), right to ten digits. Written out, as the libraries' own differ in the
/// last digits.
ZEL_IN_VECTORS inline double sineOf(std::uint64_t phase)
{
    // Mirrored at the quarter periods, so that the series stays short.
    const auto turn = static_cast<std::int64_t>(phase + 0x4000000000000000);
    const std::uint64_t mirrored = turn < 0 ? 0x8000000000000000 - phase : phase;
    const double angle = toDouble(static_cast<std::int64_t>(mirrored)) *
                         (6.283185307179586476925286766559 / 18446744073709551616.0);
    const double square = angle * angle;
    // Written without a loop: loops within loops do not become vectors.
    double sum = -1.0 / 1307674368000;
    sum = sum * square + 1.0 / 6227020800;
    sum = sum * square - 1.0 / 39916800;
    sum = sum * square + 1.0 / 362880;
    sum = sum * square - 1.0 / 5040;
    sum = sum * square + 1.0 / 120;
    sum = sum * square - 1.0 / 6;
    sum = sum * square + 1.0;
    return sum * angle;
}

ZEL_IN_VECTORS inline double rampOf(std::uint64_t phase)
{
    return toDouble(static_cast<std::int64_t>(phase ^ 0x8000000000000000)) / 9223372036854775808.0;
}

} // namespace

template <class Shape>
void Waveform::fillScaled(std::uint64_t first, std::span<double> values, Shape shape) const
{
    const double middle = centre;
    const double height = amplitude;
    inWidestVectors([=]() ZEL_IN_VECTORS {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = middle + height * shape(first + i);
    });
}

void Waveform::fill(std::uint64_t first, std::span<double> values) const
{
    const auto perSample = step;
    switch (kind) {
    case Kind::sine:
        return fillScaled(first, values, [perSample](std::uint64_t i) ZEL_IN_VECTORS {
            return sineOf(i * perSample);
        });
    case Kind::ramp:
        return fillScaled(first, values, [perSample](std::uint64_t i) ZEL_IN_VECTORS {
            return rampOf(i * perSample);
        });
    case Kind::square:
        return fillScaled(first, values, [perSample](std::uint64_t i) ZEL_IN_VECTORS {
            return (i * perSample) >> 63 == 0 ? 1.0 : -1.0;
        });
    case Kind::noise:
        return fillScaled(first, values, [seed = seed](std::uint64_t i) ZEL_IN_VECTORS {
            return rampOf(scatter(i, seed));
        });
    case Kind::counter:
        inWidestVectors([first, values]() ZEL_IN_VECTORS {
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i] = static_cast<std::int32_t>((first + i) % kCounterPeriod);
        });
    }
}

double Waveform::at(std::uint64_t number) const
{
    double value = 0;
    fill(number, {&value, 1});
    return value;
}

} // namespace zel::simulator
