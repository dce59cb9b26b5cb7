// Recordings of simulated modules, each sample and each gap compared with what the modules made.

#include "collected.h"
#include "preparation.h"
#include "recorder.h"
#include "simulator.h"
#include "waiting.h"

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using namespace acquisition;
using simulator::Fault;
using simulator::FaultKind;

constexpr std::uint64_t kRate = 1200;

class Recordings : public testing::Test {
protected:
    /// A module whose first connector counts its samples.
    simulator::Module& addModule(simulator::ModuleSettings settings = {})
    {
        settings.uuid += m_added;
        settings.name = "Module " + std::to_string(++m_added);
        simulator::Module& module = m_simulator.addModule(settings);
        const std::map<std::string, std::string> rates{
            {"1", std::to_string(kRate)}, {"2", std::to_string(kRate)}, {"3", "600"}, {"4", "100"}};
        for (const auto& [number, rate] : rates) {
            const std::string path =
                "Amplifier/Connector1/Mode/AnalogInChannel/SyncSignal" + number + '/';
            EXPECT_TRUE(module.parameters().set(path + "Waveform", "Counter"));
            EXPECT_TRUE(module.parameters().set(path + "SampleRate", rate));
        }
        return module;
    }
    static ModuleRequest request(const simulator::Module& module,
                                 const std::string& pattern = "AnalogIn_Connector0.*")
    {
        ModuleRequest made;
        made.target = ModuleTarget::parse(module.address() + ':' + std::to_string(module.port()));
        made.signals = {{pattern, {}, {}}};
        return made;
    }

    void begin(const std::vector<ModuleRequest>& requests, RecordingPlan plan = {},
               Source::Options options = {})
    {
        Preparation prepared = prepare(requests);
        m_setup = prepared.setup;
        m_recorder.emplace(
            m_setup, plan,
            [this](std::size_t number, std::uint64_t) {
                std::vector<std::unique_ptr<iSink>> sinks;
                sinks.push_back(std::make_unique<CollectingSink>(m_setup, m_collected[number]));
                return sinks;
            },
            [this](const std::string& module, const std::string& what) {
                const std::lock_guard lock{m_mutex};
                m_notices.push_back(module + ": " + what);
            });
        for (std::size_t i = 0; i < prepared.modules.size(); ++i)
            m_recorder->add(std::move(prepared.modules[i]), prepared.targets[i], options);
        m_recorder->begin();
    }
    /// Goes on until the condition holds.
    bool record(const std::function<bool()>& until, Milliseconds limit = 20s)
    {
        return eventually(
            [&] {
                m_recorder->poll();
                return until();
            },
            limit);
    }
    bool recordFor(Milliseconds time)
    {
        const Stopwatch watch;
        return record([&] { return watch.elapsed() >= time; });
    }
    std::uint64_t samples() const { return m_recorder->status().samples; }

    /// Chunks and gaps of each signal lie one behind the other from 0 to the end; each sample has
    /// the time that its index says, and the value that the module counted.
    void expectWhole(std::size_t part = 1)
    {
        const std::lock_guard lock{m_collected[part].mutex};
        ASSERT_FALSE(m_collected[part].signals.empty());
        for (auto& [number, signal] : m_collected[part].signals) {
            SCOPED_TRACE(m_setup.signals[number].reference);
            EXPECT_EQ(signal.misplaced, 0U);
            std::uint64_t missing = 0;
            for (const Gap& gap : signal.gaps)
                missing += gap.count;
            ASSERT_FALSE(signal.samples.empty());
            EXPECT_EQ(signal.samples.size() + missing, signal.next);
            if (m_setup.signals[number].reference.starts_with("AnalogIn_Connector0"))
                expectTimesAndValues(signal, m_setup.signals[number].rate);
        }
    }

    simulator::Simulator m_simulator;
    std::uint64_t m_added = 0;
    acquisition::Setup m_setup;
    std::map<std::size_t, Collected> m_collected; // by part
    std::optional<Recorder> m_recorder;
    std::mutex m_mutex;
    std::vector<std::string> m_notices; // under m_mutex

private:
    /// A subscription that was made anew counts from 0 again, from the index on at which it began.
    static void expectTimesAndValues(const Collected::Signal& signal, std::uint64_t rate)
    {
        const std::uint64_t first = signal.samples.begin()->second.time -
                                    TimeLine{0, 0, rate}.at(signal.samples.begin()->first);
        const TimeLine line{0, first, rate};
        std::uint64_t wrongTimes = 0;
        std::uint64_t wrongValues = 0;
        std::uint64_t next = 0;
        std::uint64_t begin = 0; // of the subscription
        for (const auto& [index, sample] : signal.samples) {
            const std::uint64_t due = line.at(index);
            if (std::max(due, sample.time) - std::min(due, sample.time) > 2)
                ++wrongTimes;
            const std::uint64_t began = index - static_cast<std::uint64_t>(sample.value);
            const bool mayBeAnother = index != next && began > begin;
            begin = mayBeAnother ? began : begin;
            if (began != begin)
                ++wrongValues;
            next = index + 1;
        }
        EXPECT_EQ(wrongTimes, 0U) << "of " << signal.samples.size();
        EXPECT_EQ(wrongValues, 0U) << "of " << signal.samples.size();
    }
};

TEST_F(Recordings, HoldEachSampleOfManySignalsAndModules)
{
    begin({request(addModule()), request(addModule()), request(addModule(), "all")});
    EXPECT_TRUE(record([&] { return samples() > 10 * kRate; }));
    EXPECT_EQ(m_recorder->finish(), "");
    expectWhole();
    EXPECT_EQ(m_recorder->status().missing, 0U);
    EXPECT_TRUE(m_collected[1].isFinished);
    EXPECT_EQ(m_collected[1].cause, "");
}

TEST_F(Recordings, OfATimeHoldAsManySamplesAsItHas)
{
    RecordingPlan plan;
    plan.duration = 250'000'000;
    begin({request(addModule()), request(addModule())}, plan);
    EXPECT_TRUE(eventually([&] { return !m_recorder->poll(); }));
    EXPECT_EQ(m_recorder->finish(), "");
    expectWhole();
    for (const auto& [number, signal] : m_collected[1].signals) {
        const std::uint64_t expected = m_setup.signals[number].rate / 4000;
        EXPECT_EQ(signal.samples.size(), expected) << number;
    }
}

TEST_F(Recordings, AreSplitWithoutLosingASample)
{
    RecordingPlan plan;
    plan.splitTime = 700'000'000;
    begin({request(addModule()), request(addModule())}, plan);
    EXPECT_TRUE(record([&] { return m_recorder->status().parts >= 4; }));
    EXPECT_EQ(m_recorder->finish(), "");
    const std::size_t parts = m_recorder->status().parts;
    for (std::size_t part = 1; part <= parts; ++part)
        for (auto& [number, signal] : m_collected[part].signals) {
            EXPECT_EQ(signal.misplaced, 0U);
            if (part == 1)
                continue;
            ASSERT_FALSE(signal.samples.empty()) << part;
            EXPECT_EQ(signal.samples.begin()->first, m_collected[part - 1].signals[number].next);
            EXPECT_TRUE(m_collected[part - 1].isFinished);
        }
    EXPECT_EQ(m_recorder->status().missing, 0U);
}

TEST_F(Recordings, ByTriggerBeginBeforeItInEveryModule)
{
    RecordingPlan plan;
    plan.trigger = TriggerCondition::parse("rising 1000");
    plan.preTrigger = 300'000'000;
    plan.duration = 200'000'000;
    begin({request(addModule()), request(addModule())}, plan);
    EXPECT_TRUE(eventually([&] { return !m_recorder->poll(); }));
    EXPECT_EQ(m_recorder->finish(), "");
    ASSERT_EQ(m_recorder->status().parts, 1U);
    for (auto& [number, signal] : m_collected[1].signals) {
        const std::uint64_t rate = m_setup.signals[number].rate / 1000;
        EXPECT_EQ(signal.misplaced, 0U);
        EXPECT_TRUE(signal.gaps.empty());
        // The modules did not begin at the same moment, and their clocks are known to some
        // milliseconds.
        EXPECT_NEAR(static_cast<double>(signal.samples.size()), 0.5 * static_cast<double>(rate),
                    1 + 0.02 * static_cast<double>(rate));
    }
    const auto& own = m_collected[1].signals.at(0).samples;
    EXPECT_EQ(own.begin()->second.value, 1001 - 0.3 * kRate);
    EXPECT_EQ(own.size(), kRate / 2);
}

TEST_F(Recordings, ByTriggerAreRepeatedAndCanBeCalledFor)
{
    RecordingPlan plan;
    plan.isTriggeredByCall = true;
    plan.preTrigger = 50'000'000;
    plan.duration = 50'000'000;
    plan.repeats = 3;
    begin({request(addModule())}, plan);
    EXPECT_TRUE(recordFor(200ms));
    EXPECT_EQ(m_recorder->status().parts, 0U);
    EXPECT_TRUE(eventually([&] {
        m_recorder->trigger();
        return !m_recorder->poll();
    }));
    EXPECT_EQ(m_recorder->finish(), "");
    for (std::size_t part = 1; part <= 3; ++part)
        EXPECT_NEAR(static_cast<double>(m_collected[part].signals[0].samples.size()), kRate / 10,
                    2);
}

TEST_F(Recordings, CanBeginAtATime)
{
    RecordingPlan plan;
    const auto begins = std::chrono::system_clock::now() + 400ms;
    plan.startAt =
        static_cast<std::uint64_t>(std::chrono::nanoseconds(begins.time_since_epoch()).count());
    plan.duration = 100'000'000;
    begin({request(addModule()), request(addModule())}, plan);
    EXPECT_TRUE(eventually([&] { return !m_recorder->poll(); }));
    EXPECT_EQ(m_recorder->finish(), "");
    for (const auto& [number, signal] : m_collected[1].signals) {
        EXPECT_EQ(signal.samples.size(), m_setup.signals[number].rate / 10000);
        EXPECT_NEAR(static_cast<double>(signal.samples.begin()->second.time),
                    static_cast<double>(*plan.startAt), 30e6);
    }
}

struct FaultCase {
    const char* name;
    std::function<void(simulator::Module&)> strike;
    std::vector<Cause> causes; ///< that the gap may have
};

class RecordingsUnder : public Recordings, public testing::WithParamInterface<FaultCase> {};

TEST_P(RecordingsUnder, AFaultHoldTheRestAndAGap)
{
    simulator::Module& struck = addModule();
    begin({request(struck), request(addModule())});
    ASSERT_TRUE(record([&] { return samples() > kRate; }));
    GetParam().strike(struck);
    ASSERT_TRUE(recordFor(300ms));
    ASSERT_TRUE(record([&] {
        return m_recorder->sources()[0].link == Source::Link::up &&
               m_recorder->sources()[0].gaps > 0;
    })) << "no gap has come";
    const std::uint64_t before = m_recorder->sources()[0].samples;
    EXPECT_TRUE(record([&] { return m_recorder->sources()[0].samples > before + kRate; }));
    EXPECT_EQ(m_recorder->finish(), "");
    expectWhole();
    EXPECT_EQ(m_recorder->sources()[1].missing, 0U);
    for (const auto& [number, signal] : m_collected[1].signals)
        for (const Gap& gap : signal.gaps)
            EXPECT_THAT(GetParam().causes, testing::Contains(gap.cause)) << nameOf(gap.cause);
}

Fault onFetch(FaultKind kind, unsigned count, Milliseconds time = 0ms)
{
    Fault fault;
    fault.kind = kind;
    fault.method = simulator::MethodId{5, 1};
    fault.count = count;
    fault.time = time;
    return fault;
}

INSTANTIATE_TEST_SUITE_P(
    , RecordingsUnder,
    testing::Values(
        FaultCase{"cutLink", [](auto& module) { module.dropConnections(); }, {Cause::outage}},
        FaultCase{"resetLink", [](auto& module) { module.resetConnections(); }, {Cause::outage}},
        FaultCase{"restart", [](auto& module) { module.restart(800ms); }, {Cause::outage}},
        FaultCase{
            "halfAnAnswer",
            [](auto& module) { module.setFault(onFetch(FaultKind::disconnectMidTelegram, 1)); },
            {Cause::outage}},
        FaultCase{"lostAnswer",
                  [](auto& module) { module.setFault(onFetch(FaultKind::wrongLabel, 1)); },
                  {Cause::timeStep}},
        FaultCase{"badTrailer",
                  [](auto& module) { module.setFault(onFetch(FaultKind::wrongTrailer, 1)); },
                  {Cause::timeStep, Cause::outage}},
        FaultCase{"lateAnswer",
                  [](auto& module) { module.setFault(onFetch(FaultKind::delay, 1, 7000ms)); },
                  {Cause::timeStep, Cause::overrun, Cause::outage}}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace zel::test
