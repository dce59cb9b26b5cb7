#include "sample_times.h"
#include "signal_place.h"
#include "waveform.h"

#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace zel::simulator {
namespace {

TEST(Waveforms, AreWhatTheirNamesSay)
{
    // 7 periods in 300 samples, and the same far out, where a phase of 64 bits has wrapped often.
    Waveform waveform;
    waveform.step = phaseStep(7, 300);
    waveform.amplitude = 2;
    waveform.centre = 1;
    for (const std::uint64_t first : {std::uint64_t{0}, std::uint64_t{300'000'000'000}}) {
        for (std::uint64_t i = 0; i < 300; ++i) {
            const double phase = static_cast<double>(i * 7 % 300) / 300;
            waveform.kind = Waveform::Kind::sine;
            EXPECT_NEAR(waveform.at(first + i), 1 + 2 * std::sin(2 * std::numbers::pi * phase),
                        1e-6);
            waveform.kind = Waveform::Kind::ramp;
            EXPECT_NEAR(waveform.at(first + i), 1 + 2 * (2 * phase - 1), 1e-6);
            waveform.kind = Waveform::Kind::square;
            EXPECT_EQ(waveform.at(first + i), phase < 0.5 ? 3 : -1) << i;
        }
    }
}

TEST(Waveforms, NoiseSpreadsEvenlyAndSeedsDiffer)
{
    Waveform noise;
    noise.kind = Waveform::Kind::noise;
    std::vector<double> values(100'000);
    noise.fill(1u << 30, values);
    double sum = 0;
    double squares = 0;
    for (const double value : values) {
        ASSERT_LT(std::abs(value), 1);
        sum += value;
        squares += value * value;
    }
    EXPECT_NEAR(sum / 100'000, 0, 0.01);
    EXPECT_NEAR(squares / 100'000, 1.0 / 3, 0.01);
    Waveform other = noise;
    other.seed = 1;
    EXPECT_NE(other.at(5), noise.at(5));
    EXPECT_NE(other.at(5), noise.at(6)) << "another seed is not the same noise a sample later";
}

/// What has been counted at a time and the time of a sample agree, to the nanosecond.
TEST(SampleTimes, CountEachSampleWhenItIsTaken)
{
    const SampleTimes all[]{{50, 1, 0},        {300, 1, 0},        {19200, 1, 0},
                            {1'000'000, 1, 0}, {0, 10'000'000, 3}, {0, 9'999'999'000, 4},
                            {0, 10'000, 5}};
    for (const SampleTimes& times : all) {
        std::uint64_t before = 0;
        for (const std::uint64_t first : {std::uint64_t{0}, std::uint64_t{123'456'789}}) {
            for (std::uint64_t i = first; i < first + 1000; ++i) {
                const std::uint64_t time = times.at(i);
                ASSERT_EQ(times.countUntil(time), i + 1) << times.rate << " " << times.cycle;
                if (i == 0) {
                    ASSERT_TRUE(time == 0 || times.countUntil(time - 1) == 0);
                } else {
                    ASSERT_EQ(times.countUntil(time - 1), i) << times.rate << " " << times.cycle;
                    ASSERT_GT(time, before);
                }
                before = time;
            }
        }
    }
    EXPECT_EQ((SampleTimes{300, 1, 0}.at(1)), 3'333'333u);
    EXPECT_EQ((SampleTimes{300, 1, 0}.at(3'000'000'002)), 10'000'000'006'666'666u);
}

TEST(SignalNames, MeanTheSameSignalInEveryNotation)
{
    const std::pair<const char*, const char*> names[]{
        {"AnalogIn_Connector0.Signal3", "AnalogIn_Connector0.Signal3"},
        {"CanReceiver_Connector8.Decoder2.Signal0", "CanReceiver_Connector8.Decoder2.Signal0"},
        {"Fiber_Connector9.Channel1.Signal2", "Fiber_Connector9.Channel1.Signal2"},
        {R"(Amplifier/Connector[@address="1"]/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="4"])",
         "AnalogIn_Connector0.Signal3"},
        {R"(Amplifier/Connector1/Mode[@choice="AnalogInChannel"]/AnalogInChannel/SyncSignal[@address="4"])",
         "AnalogIn_Connector0.Signal3"},
        {"/Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal4", "AnalogIn_Connector0.Signal3"},
        {R"(Amplifier/Connector[@address="2"]/Mode[@choice="CanBus"]/CanBus/CanInChannel[@address="5"]/AsyncSignal)",
         "CanReceiver_Connector1.Decoder4.Signal0"},
        {R"(AdditionalConnector/Connector[@address="2"]/Mode/CanBus/CanInChannel[@address="5"]/AsyncSignal)",
         "CanReceiver_Connector1.Decoder4.Signal0"},
        {R"(AdditionalConnector/Connector[@address="10"]/Mode[@choice="Fiber"]/Fiber/FiberChannel[@address="1"]/SyncSignal[@address="2"])",
         "Fiber_Connector9.Channel0.Signal1"},
    };
    for (const auto& [name, reference] : names) {
        const auto place = parseSignal(name);
        ASSERT_TRUE(place) << name;
        EXPECT_EQ(referenceOf(*place), reference) << name;
    }
    for (const char* name :
         {"",
          "AnalogIn",
          "AnalogIn_",
          "analogIn_Connector0.Signal0",
          "AnalogIn_Connector0",
          "AnalogIn_Connector0.Signal0x",
          "AnalogIn_Connector-1.Signal0",
          "AnalogIn_Connector.Signal0",
          "AnalogIn_Connector99999999999.Signal0",
          "Math_Index0.Signal0",
          "/",
          "//////",
          "Amplifier//Connector1/Mode/AnalogInChannel/SyncSignal1",
          "Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal1/Name",
          "Amplifier/Connector0/Mode/AnalogInChannel/SyncSignal1",
          "Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal",
          "Amplifier/Connector9/Mode/CanBus/CanInChannel1/AsyncSignal",
          R"(Amplifier/Connector1/Mode[@choice="CanBus"]/AnalogInChannel/SyncSignal1)",
          R"(Amplifier/Connector1[@address="1"]/Mode/AnalogInChannel/SyncSignal1)",
          R"(Amplifier/Connector[@address="4294967297"]/Mode/AnalogInChannel/SyncSignal1)",
          "AdditionalConnector/Connector1/Mode/AnalogInChannel/SyncSignal1"})
        EXPECT_FALSE(parseSignal(name)) << name;
}

} // namespace
} // namespace zel::simulator
