// What becomes of batches in a CSV file: rows, and what is missing between them.

#include "csv_made_up.h"
#include "csv_sink.h"

#include <limits>
#include <thread>

#include <gmock/gmock.h>
#ifdef _WIN32
#include <io.h>
#else
#include <csignal>

#include <sys/mount.h>
#include <unistd.h>
#endif

namespace zel::test {
namespace {

using namespace acquisition;
using namespace std::chrono_literals;
using testing::HasSubstr;

class CsvRecording : public testing::Test {
protected:
    CsvSink& sink()
    {
        if (!m_sink) {
            options.target.name =
                options.target.name.empty() ? folder / u8"r\u00fcn.csv" : options.target.name;
            options.counts = counts;
            m_sink.emplace(setup, options);
        }
        return *m_sink;
    }
    std::string text() { return contentOf(options.target.name); }
    std::string rows()
    {
        const std::string all = text();
        return all.substr(all.find("time [s]"));
    }

    TemporaryFolder folder;
    MadeUp setup;
    CsvSink::Options options;
    std::shared_ptr<CsvSink::Counts> counts = std::make_shared<CsvSink::Counts>();

private:
    std::optional<CsvSink> m_sink;
};

TEST_F(CsvRecording, HoldsRowsAndGapsWhereTheyBelong)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 500, ValueType::int32);
    const auto c = setup.add("C", 0, ValueType::uint64);
    setup.signals[a].name = "say \"x\"";
    setup.signals[a].unit = "N";
    setup.signals[b].name = "two\nlines";
    setup.signals[b].column = "speed";
    const TimeLine slow{0, kStart, 500'000};
    const float nil = std::numeric_limits<float>::max();
    MadeUpBatch batch;
    batch.even<float>(a, 0, {0.1F, nil}, {0, kStart, 1'000'000})
        .even<float>(a, 4, {-4, 5e20F}, {0, kStart, 1'000'000})
        .even<std::int32_t>(b, 1, {-7, std::numeric_limits<std::int32_t>::max()}, slow)
        .timed<std::uint64_t>(c, 0, {1ULL << 63U, 3}, {kStart + 1, kStart + 4 * kMillisecond})
        .gap({a, 2, 2, slow.at(1), slow.at(2), Cause::overrun})
        .gap({b, 0, 1, kStart, slow.at(1), Cause::timeStep})
        .gap({c, 1, 0, kStart + 2, kStart + 4 * kMillisecond, Cause::outage});
    batch.clock = {0, kStart + 4 * kMillisecond, -1'500, 2e-6, 250'000};
    EXPECT_TRUE(sink().write(batch));
    EXPECT_THAT(text(), HasSubstr("\n0.004000000,")) << "what is complete is written at once";
    sink().finish("");
    EXPECT_EQ(text(), R"(# recorded by zel
# module: 0x0000001234AB0001 at 10.0.0.1:55000, name Name
# start: 2023-11-14T22:13:20.238743689Z
# signal: A, name "say ""x""", unit "N", 1000 Hz, Float32
# signal: B, name "two\x0Alines", unit "", 500 Hz, Int32, column "speed"
# signal: C, name "", unit "", time-stamped, UInt64, timed
time [s],"A [N]","speed","C"
# gap: speed: 1 samples lost from 2023-11-14T22:13:20.238743689Z to 2023-11-14T22:13:20.240743689Z (time step)
0.000000000,0.1,,
0.000000001,,,9223372036854775808
# gap: C: samples may be missing from 2023-11-14T22:13:20.238743691Z to 2023-11-14T22:13:20.242743689Z (outage)
0.001000000,nan,,
# gap: A: 2 samples lost from 2023-11-14T22:13:20.240743689Z to 2023-11-14T22:13:20.242743689Z (overrun)
0.002000000,,-7,
# clock: at 2023-11-14T22:13:20.242743689Z offset -0.000001500 s, drift 2e-06, uncertainty 0.000250000 s
0.004000000,-4,nan,3
0.005000000,5e+20,,
# end: 2023-11-14T22:13:20.243743689Z, 6 rows, 8 samples, 3 lost
)");
    EXPECT_EQ(sink().bytesWritten(), text().size());
    EXPECT_EQ(counts->rows, 6U);
}

TEST_F(CsvRecording, TimesThatAreRoundedStayTogether)
{
    const auto a = setup.add("A", 300);
    const auto b = setup.add("B", 300);
    const TimeLine line{0, kStart, 300'000};
    MadeUpBatch batch;
    batch.counted(a, 0, 200, 300);
    batch.even<float>(b, 1, std::vector<float>(199), {1, line.at(1), 300'000});
    sink().write(batch);
    sink().finish("");
    EXPECT_EQ(counts->rows, 200U) << text();
}

TEST_F(CsvRecording, ASignalThatDoesNotComeHoldsUpTheOthersForAFractionOfASecond)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 1000);
    const auto received = [](std::uint64_t time) { return kStart + time * kMillisecond; };
    sink().write(MadeUpBatch(received(0)).counted(a, 0, 5, 1000));
    sink().write(MadeUpBatch(received(500)).counted(a, 5, 500, 1000));
    EXPECT_EQ(text(), "");
    sink().write(MadeUpBatch(received(700)).counted(a, 505, 200, 1000));
    EXPECT_THAT(text(), HasSubstr("\n0.704000000,704,\n"));
    sink().write(MadeUpBatch(received(750)).counted(a, 705, 5, 1000).counted(b, 0, 2, 1000));
    EXPECT_THAT(text(), HasSubstr("\n# late: B, its rows are not in the order of time\n"));
    EXPECT_THAT(text(), HasSubstr("\n0.001000000,,1\n"));
    // Once it is there again it is waited for again.
    sink().write(MadeUpBatch(received(800)).counted(b, 2, 708, 1000));
    sink().write(MadeUpBatch(received(850)).counted(a, 710, 5, 1000));
    EXPECT_THAT(text(), Not(HasSubstr("\n0.710000000,")));
    std::this_thread::sleep_for(700ms); // when nothing comes, what waits goes
    EXPECT_TRUE(sink().flush());
    EXPECT_THAT(text(), HasSubstr("\n0.714000000,714,\n"));
    EXPECT_EQ(counts->late, 1U);
}

TEST_F(CsvRecording, MemoryIsBoundedWhateverDoesNotCome)
{
    const auto a = setup.add("A", 1000);
    setup.add("B", 1000);
    options.memory = 100'000;
    for (std::uint64_t i = 0; i < 10; ++i) // all at the same moment: no time goes by
        sink().write(MadeUpBatch().counted(a, i * 10'000, 10'000, 1000));
    EXPECT_GT(counts->rows, 90'000U);
    MadeUpBatch gaps;
    for (std::uint64_t i = 0; i < 20'000; ++i)
        gaps.gap({a, 100'000 + i, 1, kStart + i, kStart + i, Cause::changed});
    const std::uint64_t before = sink().bytesWritten();
    sink().write(gaps);
    EXPECT_GT(sink().bytesWritten(), before + 1'000'000);
}

TEST_F(CsvRecording, AClockThatIsSetBackHoldsUpNothing)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 1000);
    sink().write(MadeUpBatch().counted(a, 0, 5, 1000).counted(b, 0, 4, 1000));
    const std::uint64_t hour = 3'600'000 * kMillisecond;
    MadeUpBatch batch(2);
    batch.counted(b, 4, 1, 1000);
    for (const auto signal : {a, b})
        batch.counted(signal, 5, 5, 1000, kStart - hour)
            .gap({signal, 5, 0, kStart + 5 * kMillisecond, kStart + 5 * kMillisecond - hour,
                  Cause::clockSet});
    sink().write(batch);
    EXPECT_EQ(counts->rows, 10U);
    EXPECT_THAT(rows(), HasSubstr("\n0.004000000,4,4\n"
                                  "# gap: A: the module's clock went back from "
                                  "2023-11-14T22:13:20.243743689Z to "
                                  "2023-11-14T21:13:20.243743689Z (clock set)\n"
                                  "# gap: B: the module's clock went back"));
    EXPECT_THAT(rows(), HasSubstr("\n-3599.995000000,5,5\n"));
}

TEST_F(CsvRecording, SeveralModulesShareOneOrderOfTime)
{
    setup = MadeUp({"left", "right", "can"});
    const auto a = setup.add("S", 1000);
    const auto b = setup.add("S", 1000, ValueType::float32, 1);
    const auto c = setup.add("T", 0, ValueType::float32, 2);
    const std::uint64_t between = kStart + 500'000;
    sink().write(MadeUpBatch(kStart, 0).counted(a, 0, 3, 1000));
    sink().write(MadeUpBatch(kStart + 1, 1).counted(b, 0, 2, 1000, between));
    // Of the one without even signals nobody knows whether it has something.
    EXPECT_EQ(text(), "");
    sink().write(MadeUpBatch(kStart + 2, 2).timed<float>(c, 0, {7}, {between + 1}));
    sink().write(MadeUpBatch(kStart + 400 * kMillisecond, 0).counted(a, 3, 1, 1000));
    EXPECT_THAT(text(), HasSubstr("\n# module: left, 0x0000001234AB0001 at"));
    EXPECT_THAT(text(), HasSubstr("unit \"\", 1000 Hz, Float32, module \"right\"\n"));
    EXPECT_THAT(rows(), testing::StartsWith("time [s],\"left/S\",\"right/S\",\"can/T\"\n"
                                            "0.000000000,0,,\n"
                                            "0.000500000,,0,\n"
                                            "0.000500001,,,7\n"
                                            "0.001000000,1,,\n"
                                            "0.001500000,,1,\n"
                                            "0.002000000,2,,\n"));
}

TEST_F(CsvRecording, MakesAFileForEachRateOrNone)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 0.5);
    const auto c = setup.add("C", 0);
    options.target.name = folder / u8"many.csv";
    options.isFileForEachRate = true;
    std::ofstream(folder / u8"many.timed.csv") << "mine";
    EXPECT_THROW(sink(), SinkFailure);
    EXPECT_FALSE(std::filesystem::exists(folder / u8"many.0.5Hz.csv"));
    options.target.mayReplace = true;
    sink().write(MadeUpBatch().counted(a, 0, 2, 1000).timed<float>(c, 0, {3}, {kStart}));
    sink().write(MadeUpBatch().even<float>(b, 0, {4}, {0, kStart, 500}));
    sink().finish("cut");
    EXPECT_THAT(contentOf(folder / u8"many.1000Hz.csv"),
                testing::EndsWith("time [s],\"A\"\n0.000000000,0\n0.001000000,1\n"
                                  "# broken off: cut\n"));
    EXPECT_THAT(contentOf(folder / u8"many.0.5Hz.csv"), HasSubstr("\n0.000000000,4\n"));
    EXPECT_THAT(contentOf(folder / u8"many.timed.csv"), HasSubstr("\n0.000000000,3\n"));

    const auto refused = [&](const std::string& name) -> std::string {
        try {
            const CsvSink made(setup, {.target = {.name = name}});
            return "";
        } catch (const SinkFailure& failure) {
            return failure.what();
        }
    };
    EXPECT_THAT(refused(folder / u8"many.timed.csv"), HasSubstr("many.timed.csv is there already"));
    EXPECT_THAT(refused(folder / u8"none/x.csv"), HasSubstr("folder is not there"));
    EXPECT_THAT(refused(folder / u8""), HasSubstr("it is a folder"));
}

// Windows programs are given a small disk by the tests of zel.
#ifndef _WIN32
/// Rows that do not fit a small disk.
MadeUpBatch partOf(std::uint64_t number)
{
    return std::move(MadeUpBatch(number + 1).counted(0, number * 1000, 1000, 1000));
}

TEST_F(CsvRecording, AFullDiskIsNoEnd)
{
    setup.add("A", 1000);
    const std::string disk = folder / u8"disk";
    std::filesystem::create_directory(disk);
    ASSERT_EQ(mount("none", disk.c_str(), "tmpfs", 0, "size=128k"), 0) << std::strerror(errno);
    std::ofstream(disk + "/ballast") << std::string(64 << 10U, 'x');
    options.target.name = disk + "/r.csv";
    CsvSink whole(setup, {.target = {.name = folder / u8"whole.csv"}});
    std::uint64_t parts = 0;
    const auto fill = [&] {
        for (; sink().write(partOf(parts)); ++parts)
            whole.write(partOf(parts));
        EXPECT_FALSE(sink().flush());
        EXPECT_TRUE(text().ends_with('\n'));
        EXPECT_EQ(text().size(), sink().bytesWritten());
    };
    fill();
    std::filesystem::remove(disk + "/ballast");
    EXPECT_TRUE(sink().flush());
    EXPECT_EQ(text(), contentOf(folder / u8"whole.csv"));
    fill();
    whole.finish("");
    EXPECT_THROW(sink().finish("stopped"), SinkFailure);
    const std::string all = text();
    const auto last = all.rfind('\n', all.size() - 2) + 1;
    EXPECT_TRUE(contentOf(folder / u8"whole.csv").starts_with(all.substr(0, last)));
    EXPECT_THAT(all.substr(last), testing::StartsWith("# broken off: stopped; could not write to"));
    EXPECT_EQ(counts->rows, static_cast<std::uint64_t>(std::ranges::count(all, '\n') - 6));
    umount2(disk.c_str(), MNT_DETACH);
}
#endif

TEST_F(CsvRecording, GoesIntoAPipeUntilNobodyReads)
{
    setup.add("A", 1000);
    int ends[2];
#ifdef _WIN32
    ASSERT_EQ(_pipe(ends, 1 << 16U, 0x8000), 0);
#else
    ASSERT_EQ(pipe(ends), 0);
    std::signal(SIGPIPE, SIG_DFL);
#endif
    CsvSink piped(setup, {.target = {.descriptor = ends[1]}});
    EXPECT_EQ(piped.name(), "standard output");
    piped.write(MadeUpBatch().counted(0, 0, 3, 1000));
    char read[1024];
    const auto count = ::read(ends[0], read, sizeof read);
    EXPECT_THAT(std::string(read, static_cast<std::size_t>(std::max<long long>(count, 0))),
                testing::EndsWith("\n0.002000000,2\n"));
    ::close(ends[0]);
    EXPECT_THROW(piped.write(MadeUpBatch(2).counted(0, 3, 3, 1000)), ReaderGone);
    ::close(ends[1]);
}

} // namespace
} // namespace zel::test
