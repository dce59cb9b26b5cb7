// What zel makes of blocks of measured values: rows, and what is missing between them.

#include "recording.h"

#include <bit>
#include <thread>

#include <gtest/gtest.h>

namespace zel::cli {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kStart = 1'700'000'000'238'743'689;

class RecordingTest : public testing::Test {
protected:
    /// So many signals of one rate.
    void record(std::size_t count, double hertz)
    {
        MeasuredSignal signal;
        signal.sampleRate = hertz;
        m_rate = static_cast<std::uint64_t>(hertz);
        for (char name = 'A'; m_signals.size() < count; ++name) {
            signal.reference = name;
            m_signals.push_back(signal);
        }
        recording.emplace(
            m_signals, std::vector<std::string>{},
            [this](std::string_view lines, std::uint64_t) { text += lines; },
            [](const std::string&, std::uint64_t) {});
    }

    /// A record with the samples from `first` on, each its own number, as modules round its time.
    void add(std::uint16_t signal, std::uint64_t first, std::uint32_t count,
             std::uint64_t start = kStart)
    {
        put(std::uint64_t{1} << 56U | std::uint64_t{36} << 48U | std::uint64_t{signal} << 32U |
                count,
            8);
        put(start + first / m_rate * 1'000'000'000 + first % m_rate * 1'000'000'000 / m_rate, 8);
        put(m_rate * 1000, 8);
        for (std::uint32_t i = 0; i < count; ++i)
            put(std::bit_cast<std::uint32_t>(static_cast<float>(first + i)), 4);
    }

    void take()
    {
        recording->take(m_block.data(), m_block.size(), false);
        m_block.clear();
    }

    std::size_t where(const std::string& part) const { return text.find(part); }

    std::optional<Recording> recording;
    std::string text;

private:
    void put(std::uint64_t number, int bytes)
    {
        while (bytes-- > 0)
            m_block.push_back(static_cast<unsigned char>(number >> (8 * bytes)));
    }

    std::vector<MeasuredSignal> m_signals;
    std::uint64_t m_rate = 1;
    std::vector<unsigned char> m_block;
};

TEST_F(RecordingTest, CountsWhatIsMissingAtTheStartInBetweenAndAtTheEnd)
{
    record(3, 1000);
    recording->limit(10'000'000);
    add(1, 0, 10);
    add(2, 2, 3);
    add(2, 7, 1);
    add(3, 0, 6);
    add(3, 12, 1); // ends outside
    take();
    EXPECT_FALSE(recording->isOver(false));
    recording->finish();
    EXPECT_EQ(recording->rows(), 10U);
    EXPECT_EQ(recording->samples(), 10U + 4 + 6);
    EXPECT_EQ(recording->lost(), 2U + 2 + 2 + 4);
    EXPECT_EQ(recording->gaps(), 4U);
    EXPECT_LT(where("# gap: B: 2 samples lost"), where("\n0.000000000,0,,0\n"));
    EXPECT_LT(where("\n0.004000000,4,4,4\n# gap: B: 2 samples lost"), where("\n0.005000000,5,,5"));
    EXPECT_NE(where("\n0.009000000,9,,\n# gap: B: 2 samples lost"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with(" 10 rows, 20 samples, 10 lost\n"));
}

TEST_F(RecordingTest, TimesThatAreRoundedStayTogether)
{
    record(2, 300);
    recording->limit(666'666'667); // 200 samples and a fraction of a nanosecond
    for (std::uint16_t signal = 1; signal <= 2; ++signal) {
        add(signal, 0, 3);
        add(signal, 10U * signal + 1, 70);
        add(signal, 100U + signal, 150);
    }
    take();
    EXPECT_TRUE(recording->isOver(false));
    recording->finish();
    EXPECT_EQ(recording->rows(), 3U + 80 + 99);
    EXPECT_EQ(recording->samples() + recording->lost(), 400U);
}

TEST_F(RecordingTest, ASignalThatNeverSendsDoesNotHoldBackTheOthers)
{
    record(2, 1000);
    add(1, 0, 5);
    take();
    EXPECT_EQ(text, "");
    std::this_thread::sleep_for(700ms);
    take();
    EXPECT_NE(where("\n0.004000000,4,\n"), std::string::npos) << text;
    recording->stopNow();
    EXPECT_FALSE(recording->isOver(false));
    recording->finish();
    EXPECT_NE(where("# gap: B: "), std::string::npos) << text;
    EXPECT_GE(recording->lost(), 5U);
}

TEST_F(RecordingTest, AClockThatIsSetBackEndsNoRecordingAndHoldsUpNothing)
{
    record(2, 1000);
    recording->limit(10'000'000);
    for (const std::uint64_t start : {kStart, kStart - 3'600'000'000'000}) {
        EXPECT_FALSE(recording->isOver(false));
        add(1, 0, 5, start);
        add(2, 0, 5, start);
        take();
    }
    EXPECT_TRUE(recording->isOver(false));
    recording->finish();
    EXPECT_EQ(recording->rows(), 10U);
    EXPECT_EQ(recording->gaps(), 2U);
    EXPECT_EQ(recording->lost(), 0U);
}

} // namespace
} // namespace zel::cli
