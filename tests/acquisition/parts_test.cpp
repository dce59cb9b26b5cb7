// The pieces of a recorder, each by itself.

#include "clock_estimator.h"
#include "collected.h"
#include "preparation.h"
#include "signal_tracker.h"
#include "sink_queue.h"
#include "trigger.h"
#include "waiting.h"

#include <atomic>
#include <memory>
#include <random>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

using namespace acquisition;

constexpr std::uint64_t kSecond = 1'000'000'000;

TEST(SignalTrackers, TakeTheTimeStampsForTruth)
{
    constexpr std::uint64_t kRate = 3'000; // millihertz: periods that are no whole nanoseconds
    constexpr std::uint64_t kBegin = 1'700'000'000 * kSecond;
    const TimeLine truth{0, kBegin, kRate};
    SignalTracker tracker{7};
    const auto take = [&](std::uint64_t time, std::uint64_t count) {
        return tracker.placeEven(time, kRate, count, 3600 * kSecond, kBegin);
    };
    EXPECT_EQ(take(truth.at(0), 10).index, 0U);
    EXPECT_FALSE(take(truth.at(10), 10).before);
    // Behind a gap the old steps go on, to the nanosecond.
    auto place = take(truth.at(50), 1000);
    ASSERT_TRUE(place.before);
    EXPECT_EQ(place.before->index, 20U);
    EXPECT_EQ(place.before->count, 30U);
    EXPECT_EQ(place.before->signal, 7U);
    EXPECT_EQ(place.line, truth);
    // A clock that runs a little fast is no gap, however long.
    std::uint64_t time = truth.at(1050);
    for (int record = 0; record < 100; ++record) {
        place = take(time, 10);
        EXPECT_FALSE(place.before) << record;
        EXPECT_EQ(place.line.at(place.index), time);
        time += 10'010 * kSecond / 3'000;
    }
    EXPECT_EQ(tracker.nextIndex(), 2050U);
    // A clock that is set: nothing is known to be missing.
    place = take(kBegin - 5 * kSecond, 10);
    ASSERT_TRUE(place.before);
    EXPECT_EQ(place.before->cause, Cause::clockSet);
    EXPECT_EQ(place.before->count, 0U);
    place = tracker.placeEven(kBegin + 86400 * kSecond, kRate, 10, 2 * kSecond, kBegin);
    EXPECT_EQ(place.before->cause, Cause::clockSet);
    // A module that began anew with another clock was away for as long as the host says.
    tracker.restart(10 * kSecond);
    place = take(kBegin, 10);
    EXPECT_EQ(place.before->cause, Cause::restart);
    EXPECT_EQ(place.before->count, 30U);
    EXPECT_EQ(place.index, 2070U + 30U);
    // The first record that came was not the first one.
    SignalTracker late{8};
    place = late.placeEven(truth.at(5), kRate, 1, kSecond, kBegin);
    EXPECT_EQ(place.index, 5U);
    EXPECT_EQ(place.before->count, 5U);
}

TEST(ClockEstimators, FindOffsetAndDriftBelowTheDelays)
{
    constexpr double kDrift = 30e-6;
    constexpr std::int64_t kOffset = -1'234'567'890;
    constexpr std::uint64_t kBegin = 1'700'000'000 * kSecond;
    ClockEstimator clock;
    std::mt19937 random{4711};
    std::exponential_distribution<double> delay{1000}; // a millisecond
    std::uint64_t time = kBegin;
    for (int i = 0; i < 12000; ++i) {
        time += kSecond / 20;
        const double passed = static_cast<double>(time - kBegin);
        const auto host =
            time + static_cast<std::uint64_t>(
                       kOffset + static_cast<std::int64_t>(kDrift * passed + delay(random) * 1e9));
        clock.add(time, host, 100'000, 100'000);
    }
    const auto estimate = clock.estimate();
    ASSERT_TRUE(estimate);
    const double now = kOffset + kDrift * static_cast<double>(time - kBegin);
    EXPECT_NEAR(static_cast<double>(estimate->offset), now,
                static_cast<double>(estimate->uncertainty) + 50'000);
    EXPECT_NEAR(estimate->drift, kDrift, 0.5e-6);
    EXPECT_EQ(estimate->uncertainty, 100'000U);
}

/// Takes nothing while it is held.
class HeldSink : public CollectingSink {
public:
    using CollectingSink::CollectingSink;
    bool write(const Batch& batch) override
    {
        while (m_isHeld)
            std::this_thread::sleep_for(1ms);
        return m_hasRoom && CollectingSink::write(batch);
    }

    std::atomic<bool> m_isHeld = false;
    std::atomic<bool> m_hasRoom = true;
};

class SinkQueues : public testing::Test {
protected:
    SinkQueues()
    {
        m_setup.modules.resize(1);
        m_setup.signals.resize(1);
        m_setup.signals[0].type = ValueType::float64;
        m_setup.signals[0].rate = 1'000'000;
        auto sink = std::make_unique<HeldSink>(m_setup, m_collected);
        m_sink = sink.get();
        m_queue = std::make_unique<SinkQueue>(std::move(sink), kCapacity);
    }
    void push()
    {
        auto batch = std::make_shared<Batch>();
        batch->bytes.resize(kCount * sizeof(double));
        batch->chunks.push_back({0, m_next, kCount, {0, 0, 1'000'000}, 0, 0});
        for (std::size_t i = 0; i < kCount; ++i)
            reinterpret_cast<double*>(batch->bytes.data())[i] = static_cast<double>(m_next + i);
        m_next += kCount;
        m_queue->push(std::move(batch));
    }
    /// Nothing is there twice, nothing is missing without a gap.
    void expectWhole(bool hasLost, Cause cause)
    {
        const auto& signal = m_collected.signals[0];
        std::uint64_t missing = 0;
        for (const Gap& gap : signal.gaps) {
            EXPECT_EQ(gap.cause, cause);
            EXPECT_EQ(gap.end, TimeLine({0, 0, 1'000'000}).at(gap.index + gap.count));
            missing += gap.count;
        }
        EXPECT_EQ(missing > 0, hasLost);
        EXPECT_EQ(signal.misplaced, 0U);
        EXPECT_EQ(signal.next, m_next);
        EXPECT_EQ(signal.samples.size() + missing, m_next);
        for (const auto& [index, sample] : signal.samples)
            ASSERT_EQ(sample.value, static_cast<double>(index));
    }

    static constexpr std::size_t kCount = 100;
    static constexpr std::size_t kCapacity = 20'000;
    acquisition::Setup m_setup;
    Collected m_collected;
    HeldSink* m_sink = nullptr;
    std::unique_ptr<SinkQueue> m_queue;
    std::uint64_t m_next = 0;
};

TEST_F(SinkQueues, TurnWhatDoesNotFitIntoGaps)
{
    m_sink->m_isHeld = true;
    for (int i = 0; i < 1000; ++i)
        push();
    EXPECT_LT(m_queue->state().waiting, 2 * kCapacity);
    m_sink->m_isHeld = false;
    EXPECT_TRUE(eventually([&] { return m_queue->state().waiting == 0; }));
    for (int i = 0; i < 10; ++i)
        push();
    m_queue->finish({});
    expectWhole(true, Cause::queue);
    EXPECT_TRUE(m_collected.isFinished);
}

TEST_F(SinkQueues, WaitForRoomOnTheDisk)
{
    push();
    m_sink->m_hasRoom = false;
    for (int i = 0; i < 10; ++i)
        push();
    EXPECT_TRUE(eventually([&] { return m_queue->state().isDiskFull; }));
    m_sink->m_hasRoom = true;
    EXPECT_TRUE(eventually([&] { return m_queue->state().waiting == 0; }));
    EXPECT_FALSE(m_queue->state().isDiskFull);
    m_queue->finish({});
    expectWhole(false, Cause::noSpace);
}

TEST_F(SinkQueues, SayWhatAFullDiskHasCost)
{
    m_sink->m_hasRoom = false;
    push();
    EXPECT_TRUE(eventually([&] { return m_queue->state().isDiskFull; }));
    EXPECT_THROW(m_queue->finish({}), SinkFailure);
    EXPECT_NE(m_collected.cause.find("100 samples"), std::string::npos) << m_collected.cause;
}

TEST(Triggers, AreReadFromText)
{
    for (const char* const text :
         {"> 5", "< -2.5", "rising 1e3", "falling 0", "inside 1 2.5", "outside -1 1"}) {
        const std::string again = TriggerCondition::parse(text).text();
        EXPECT_EQ(TriggerCondition::parse(again).text(), again) << text;
    }
    EXPECT_EQ(TriggerCondition::parse(">5").low, 5);
    for (const char* const text :
         {"", "5", "rising", "rising x", "rising 1 2", "inside 2 1", "above 5", "> nan", "> 5 6"})
        EXPECT_THROW(TriggerCondition::parse(text), std::invalid_argument) << text;
}

TEST(Patterns, StandForAnyAndForOneCharacter)
{
    EXPECT_TRUE(matches("AnalogIn_*", "AnalogIn_Connector0.Signal0"));
    EXPECT_TRUE(matches("*.Signal?", "AnalogIn_Connector0.Signal0"));
    EXPECT_TRUE(matches("*", ""));
    EXPECT_TRUE(matches("a*b*c", "aXbYbZc"));
    EXPECT_FALSE(matches("a*b*c", "aXbYbZ"));
    EXPECT_FALSE(matches("?", ""));
    EXPECT_FALSE(matches("Analog", "AnalogIn"));
}

} // namespace
} // namespace zel::test
