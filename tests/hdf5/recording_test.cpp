// Recordings into HDF5 and back: whole ones, broken off ones, growing ones.

#include "guarded_file.h"
#include "hdf5_reader.h"
#include "hdf5_sink.h"
#include "recorder_process.h"
#include "synthetic_recording.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using namespace acquisition;
using testing::HasSubstr;

template <class Known>
std::string failureOf(auto work)
{
    try {
        work();
    } catch (const Known& failure) {
        return failure.what();
    }
    return "";
}

class Hdf5File : public testing::Test {
protected:
    static bool isSame(const SignalInfo& a, const SignalInfo& b)
    {
        return std::tie(a.module, a.reference, a.name, a.column, a.unit, a.path, a.type, a.isEven,
                        a.calibration) == std::tie(b.module, b.reference, b.name, b.column, b.unit,
                                                   b.path, b.type, b.isEven, b.calibration);
    }
    static bool isSame(const ModuleInfo& a, const ModuleInfo& b)
    {
        return std::tie(a.label, a.address, a.uuid, a.name, a.parameters) ==
               std::tie(b.label, b.address, b.uuid, b.name, b.parameters);
    }

    TestFolder m_folder;
    const std::string m_path = m_folder.file("run.h5");
};

/// With a degree of compression.
class Hdf5 : public Hdf5File, public testing::WithParamInterface<unsigned> {};

TEST_P(Hdf5, GivesBackWhatWasRecorded)
{
    constexpr std::uint64_t kSteps = 400;
    const std::string path = m_folder.file("pr\u00fcf.h5");
    Hdf5Sink sink({.path = path, .deflate = GetParam()}, SyntheticRecording::setup());
    SyntheticRecording recording;
    for (std::uint64_t i = 0; i < kSteps; ++i) {
        ASSERT_TRUE(sink.write(recording.next()));
        ASSERT_TRUE(i % 17 != 3 || sink.flush());
    }
    sink.finish("");

    Hdf5Reader reader(path);
    const acquisition::Setup made = SyntheticRecording::setup();
    EXPECT_EQ(reader.setup().begin, made.begin);
    ASSERT_EQ(reader.setup().modules.size(), made.modules.size());
    for (std::size_t i = 0; i < made.modules.size(); ++i)
        EXPECT_TRUE(isSame(reader.setup().modules[i], made.modules[i])) << i;
    ASSERT_EQ(reader.setup().signals.size(), made.signals.size());
    for (std::size_t i = 0; i < made.signals.size(); ++i)
        EXPECT_TRUE(isSame(reader.setup().signals[i], made.signals[i])) << i;
    EXPECT_EQ(reader.end().how, RecordingEnd::How::complete);

    const Collected expected = Collected::ofSteps(kSteps);
    EXPECT_TRUE(Collected::ofFile(path) == expected);
    for (std::size_t i = 0; i < made.signals.size(); ++i) {
        const SignalTotals& totals = reader.totals()[i];
        EXPECT_EQ(totals.samples, expected.samples.at(i).size());
        EXPECT_EQ(totals.samples + totals.missing, totals.endIndex - totals.firstIndex);
    }
    EXPECT_EQ(repairHdf5(path), Repair::wasFine);
    // 8 MB of gaps: whole chunks of nothing take no room.
    EXPECT_LT(std::filesystem::file_size(recordingPath(path)), 8'000'000U);
}

/// Of each module exactly what one of the flushes had finished, and none before the one that is
/// known of.
void expectFlushed(const Collected& found, std::uint64_t atLeast, std::uint64_t atMost)
{
    std::array<bool, 2> isKnown{};
    Collected expected;
    SyntheticRecording recording;
    for (std::uint64_t steps = 0; steps <= atMost; expected.add(recording.next()), ++steps) {
        if (steps % kStepsPerFlush != 0 || steps < atLeast)
            continue;
        for (std::size_t module = 0; module < isKnown.size(); ++module)
            isKnown.at(module) = isKnown.at(module) || found.isSame(expected, module);
    }
    EXPECT_TRUE(isKnown[0] && isKnown[1])
        << "not what was flushed between " << atLeast << " and " << atMost;
}

TEST_P(Hdf5, KeepsWhatWasFlushedWhenItsRecorderIsKilled)
{
    std::mt19937 random{GetParam()};
    for (int round = 0; round < 4; ++round) {
        RecorderProcess recorder(m_path, 1'000'000, GetParam() != 0);
        while (recorder.flushed() == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 300'000));
        recorder.kill();
        const std::uint64_t flushed = recorder.flushed();
        EXPECT_EQ(Hdf5Reader(m_path).end().how, RecordingEnd::How::brokenOff);
        expectFlushed(Collected::ofFile(m_path), flushed, flushed + 2 * kStepsPerFlush);
        EXPECT_EQ(repairHdf5(m_path), Repair::closed);
        EXPECT_EQ(repairHdf5(m_path), Repair::wasFine);
        EXPECT_EQ(Hdf5Reader(m_path).end().how, RecordingEnd::How::brokenOff);
        expectFlushed(Collected::ofFile(m_path), flushed, flushed + 2 * kStepsPerFlush);
        std::filesystem::remove(m_path + ".progress");
    }
}

INSTANTIATE_TEST_SUITE_P(, Hdf5, testing::Values(0U, 6U));

TEST_F(Hdf5File, IsReadWhileItGrowsAndLeftAloneByOthers)
{
    RecorderProcess recorder(m_path, 1'000'000);
    while (recorder.flushed() == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    for (int round = 0; round < 5; ++round) {
        const std::uint64_t before = recorder.flushed();
        const Collected found = Collected::ofFile(m_path);
        expectFlushed(found, before, recorder.flushed() + 2 * kStepsPerFlush);
    }
    EXPECT_EQ(Hdf5Reader(m_path).end().how, RecordingEnd::How::recording);
    EXPECT_THAT(failureOf<RecordingFailure>([&] { repairHdf5(m_path); }),
                HasSubstr("is being recorded into"));
    EXPECT_THAT(failureOf<SinkFailure>([&] {
                    Hdf5Sink({.path = m_path, .mayReplace = true}, SyntheticRecording::setup());
                }),
                HasSubstr("is being recorded into"));
}

TEST_F(Hdf5File, TellsWhyItCannotBeMade)
{
    const auto failure = [](const std::string& path) {
        return failureOf<SinkFailure>(
            [&] { Hdf5Sink({.path = path}, SyntheticRecording::setup()); });
    };
    std::ofstream(m_folder.file("there")) << "text";
    EXPECT_THAT(failure(m_folder.file("there")), HasSubstr("is there already"));
    EXPECT_THAT(failure(m_folder.file("none/file")), HasSubstr("folder is not there"));
    EXPECT_THAT(failure(m_folder.file("")), HasSubstr("is a folder"));
    EXPECT_NE(failure(""), "");
}

TEST_F(Hdf5File, TellsWhatIsNoRecording)
{
    const auto failure = [](const std::string& path) {
        return failureOf<RecordingFailure>([&] { Hdf5Reader reader(path); });
    };
    std::ofstream(m_folder.file("text")) << "text";
    EXPECT_THAT(failure(m_folder.file("text")), HasSubstr("is no HDF5 file"));
    EXPECT_THAT(failure(m_folder.file("none")), HasSubstr("is not there"));
    EXPECT_THAT(failure(m_folder.file("")), HasSubstr("is not a regular file"));
    EXPECT_NE(failureOf<RecordingFailure>([&] { repairHdf5(m_folder.file("text")); }), "");
}

TEST_F(Hdf5File, SaysWhyARecordingEnded)
{
    Hdf5Sink sink({.path = m_path}, SyntheticRecording::setup());
    sink.finish("the link was lost");
    const Hdf5Reader reader(m_path);
    EXPECT_EQ(reader.end().how, RecordingEnd::How::brokenOff);
    EXPECT_EQ(reader.end().cause, "the link was lost");
}

} // namespace
} // namespace zel::test
