#include "logger.h"

#include <string>

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr auto kMeasurement = static_cast<std::uint32_t>(LogCategory::measurement);
constexpr auto kTransactions = static_cast<std::uint32_t>(LogCategory::transactions);
constexpr std::uint32_t kEveryLevel = 100;

/// What some lines put on the two streams, every time stamp replaced by "T ".
struct Streams {
    std::string out;
    std::string error;
};

std::string withoutTimes(std::string text)
{
    for (std::size_t at = 0; at + 9 <= text.size(); ++at)
        if (text[at + 2] == ':' && text[at + 5] == ':' && text[at + 8] == ' ')
            text.replace(at, 9, "T ");
    return text;
}

template <class Work>
Streams written(Work&& work)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    work();
    Streams streams;
    streams.error = withoutTimes(testing::internal::GetCapturedStderr());
    streams.out = withoutTimes(testing::internal::GetCapturedStdout());
    return streams;
}

TEST(Logging, WritesNothingWhileClosedOrWhileTheCategoryIsOff)
{
    clLogger log;
    log.setThreshold(kEveryLevel);
    const Streams streams = written([&] {
        log.setMask(~0U);
        log.write(LogLevel::emergency, LogCategory::measurement, "closed");
        EXPECT_FALSE(log.isOn(LogCategory::measurement));
        log.setMask(kTransactions);
        log.setThreshold(0);
        log.setOpen(true);
        log.write(LogLevel::emergency, LogCategory::measurement, "off");
    });
    EXPECT_EQ(streams.out, "");
    EXPECT_EQ(streams.error, "");
    EXPECT_TRUE(log.isOn(LogCategory::transactions));
    EXPECT_FALSE(log.isOn(LogCategory::measurement));
}

TEST(Logging, NotesOpeningAndClosingOnceEach)
{
    clLogger log;
    const Streams streams = written([&] {
        log.setOpen(false);
        log.setOpen(true);
        log.setOpen(true);
        log.setOpen(false);
        log.setOpen(false);
    });
    EXPECT_EQ(streams.out, "T INFO Log: logging opened\nT INFO Log: logging closed\n");
}

TEST(Logging, WritesTheLevelWordAndTheCategoryAsTenDigits)
{
    clLogger log;
    log.setThreshold(kEveryLevel);
    log.setMask(~0U);
    const Streams streams = written([&] {
        log.setOpen(true);
        for (std::uint32_t level = 0; level <= 7; ++level)
            log.write(static_cast<LogLevel>(level), LogCategory::transactions, "text");
        log.write(LogLevel::info, LogCategory::measurement, "a block");
    });
    // The text of the severe lines goes to the other stream, their time stamps do not.
    EXPECT_EQ(streams.out, "T INFO Log: logging opened\n"
                           "T T T T T WARN Log 0002000000: text\n"
                           "T NOTE Log 0002000000: text\n"
                           "T INFO Log 0002000000: text\n"
                           "T DBG  Log 0002000000: text\n"
                           "T INFO Log 0000040000: a block\n");
    EXPECT_EQ(streams.error, "EMRG Log 0002000000: text\n"
                             "ALRT Log 0002000000: text\n"
                             "CRIT Log 0002000000: text\n"
                             "ERR  Log 0002000000: text\n");
}

TEST(Logging, KeepsToTheThreshold)
{
    clLogger log;
    log.setMask(kMeasurement);
    const Streams streams = written([&] {
        log.setOpen(true);
        log.write(LogLevel::info, LogCategory::measurement, "seen");
        log.write(LogLevel::debug, LogCategory::measurement, "not seen");
        log.setThreshold(8);
        log.write(static_cast<LogLevel>(8), LogCategory::measurement, "only the time");
        log.write(static_cast<LogLevel>(9), LogCategory::measurement, "not even that");
    });
    EXPECT_EQ(streams.out, "T INFO Log: logging opened\nT INFO Log 0000040000: seen\nT ");
}

TEST(Logging, CapsTheLevelOfACategoryAtItsMostSevereMask)
{
    clLogger log;
    log.setMask(kMeasurement);
    log.setInfoCategories(kMeasurement);
    const Streams streams = written([&] {
        log.setOpen(true);
        log.write(LogLevel::debug, LogCategory::measurement, "as info");
        log.setWarningCategories(kMeasurement | kTransactions);
        log.write(LogLevel::debug, LogCategory::measurement, "as warning");
        log.setErrorCategories(kMeasurement);
        log.write(LogLevel::debug, LogCategory::measurement, "as error");
        log.write(LogLevel::alert, LogCategory::measurement, "stays severe");
    });
    EXPECT_EQ(streams.out, "T INFO Log: logging opened\n"
                           "T INFO Log 0000040000: as info\n"
                           "T WARN Log 0000040000: as warning\n"
                           "T T ");
    EXPECT_EQ(streams.error, "ERR  Log 0000040000: as error\n"
                             "ALRT Log 0000040000: stays severe\n");
}

TEST(Logging, IsConfiguredByWellFormedTextsOnly)
{
    clLogger log;
    Streams streams = written([&] {
        log.configure(nullptr, nullptr);
        log.configure("", "");
        log.configure("2000000 ", "7");
        log.configure("100000000", nullptr);
        log.configure("-1", "8");
    });
    EXPECT_EQ(streams.out, "");
    EXPECT_FALSE(log.isOn(LogCategory::transactions));

    streams = written([&] {
        log.configure("0x2040000", "4");
        log.configure(nullptr, "7");
        log.write(LogLevel::debug, LogCategory::measurement, "on");
    });
    EXPECT_EQ(streams.out, "T DBG  Log 0000040000: on\n");
}

} // namespace
} // namespace zel
