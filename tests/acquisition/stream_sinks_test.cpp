// Recordings as streams for other programs.

#include "csv_made_up.h"
#include "float32_sink.h"
#include "jsonl_sink.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

namespace zel::test {
namespace {

using namespace acquisition;
using testing::HasSubstr;

TEST(JsonLines, TellSetupSamplesGapsAndEnd)
{
    const TemporaryFolder folder;
    MadeUp setup({"a\"b\x01\xFF"});
    const auto a = setup.add("A", 3);
    const auto b = setup.add("B", 0, ValueType::int64);
    setup.begin = 5;
    setup.signals[a].column = "force";
    setup.signals[a].calibration = {{"Gain", "2"}, {"Offset", ""}};
    const std::string name = folder / u8"r.jsonl";
    JsonlSink sink(setup, {.name = name});
    MadeUpBatch batch;
    batch.even<float>(a, 0, {0.5F, std::numeric_limits<float>::max()}, {0, 1000, 3000})
        .even<float>(a, 7, {-std::numeric_limits<float>::infinity()}, {0, 1000, 3000})
        .gap({a, 2, 5, 666'667'666, 2'333'334'333, Cause::cut})
        .timed<std::int64_t>(b, 0, {-9'007'199'254'740'993}, {1'700'000'000'000'000'001});
    batch.clock = {0, 8, -9, 0.5, 10};
    EXPECT_TRUE(sink.write(batch));
    sink.finish("over");
    const std::string who = R"("module":"a\"b\u0001\\xFF","signal":)";
    EXPECT_EQ(
        contentOf(name),
        R"({"type":"begin","recorder":"zel","time":5,"onHostTime":false,"modules":[{)"
        R"("label":"a\"b\u0001\\xFF","address":"10.0.0.1:55000",)"
        R"("uuid":"0x0000001234AB0001","name":"Name"}],"signals":[{)" +
            who +
            R"("force","reference":"A","name":"","unit":"","path":"","type":"Float32",)"
            R"("rate":3,"calibration":{"Gain":"2","Offset":""}},{)" +
            who +
            R"("B","reference":"B","name":"","unit":"","path":"","type":"Int64",)"
            R"("rate":null,"calibration":{}}]})"
            "\n"
            R"({"type":"samples",)" +
            who +
            R"("force","index":0,"time":1000,"period":333333333.3333333,"values":[0.5,null]})"
            "\n"
            R"({"type":"gap",)" +
            who +
            R"("force","index":2,"count":5,"begin":666667666,"end":2333334333,)"
            R"("cause":"cut block"})"
            "\n"
            R"({"type":"samples",)" +
            who +
            R"("force","index":7,"time":2333334333,"period":333333333.3333333,"values":[null]})"
            "\n"
            R"({"type":"samples",)" +
            who +
            R"("B","index":0,"times":[1700000000000000001],"values":[-9007199254740993]})"
            "\n"
            R"({"type":"clock","module":"a\"b\u0001\\xFF","time":8,"offset":-9,)"
            R"("drift":0.5,"uncertainty":10})"
            "\n"
            R"({"type":"end","cause":"over","samples":4,"missing":5})"
            "\n");
}

class PlainNumbers : public testing::Test {
protected:
    Float32Sink& sink()
    {
        options.target.name = folder / u8"r.f32";
        if (!m_sink)
            m_sink.emplace(setup, options);
        return *m_sink;
    }
    /// Each row's values; -1 for NaN.
    std::vector<std::vector<float>> rows()
    {
        const std::string bytes = contentOf(options.target.name);
        std::vector<float> numbers(bytes.size() / sizeof(float));
        if (!bytes.empty())
            std::memcpy(numbers.data(), bytes.data(), bytes.size());
        std::vector<std::vector<float>> rows;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (i % setup.signals.size() == 0)
                rows.emplace_back();
            rows.back().push_back(std::isnan(numbers[i]) ? -1 : numbers[i]);
        }
        return rows;
    }
    std::string refusal()
    {
        try {
            sink();
            return "";
        } catch (const SinkFailure& failure) {
            return failure.what();
        }
    }
    using Rows = std::vector<std::vector<float>>;

    TemporaryFolder folder;
    MadeUp setup;
    Float32Sink::Options options;

private:
    std::optional<Float32Sink> m_sink;
};

TEST_F(PlainNumbers, StandInRowsWithoutAnythingElse)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 1000, ValueType::uint32);
    MadeUpBatch batch;
    batch.counted(a, 10, 2, 1000).counted(a, 14, 1, 1000);
    batch.even<std::uint32_t>(b, 1, {1, 0xFFFFFFFF, 3}, {1, kStart + 11 * kMillisecond, 1'000'000});
    batch.gap({a, 12, 2, kStart + 12 * kMillisecond, kStart + 14 * kMillisecond, Cause::overrun});
    EXPECT_TRUE(sink().write(batch));
    EXPECT_EQ(rows(), (Rows{{10, -1}, {11, 1}, {-1, -1}, {-1, 3}}));
    sink().finish("");
    EXPECT_EQ(rows(), (Rows{{10, -1}, {11, 1}, {-1, -1}, {-1, 3}, {14, -1}}));
}

TEST_F(PlainNumbers, AreLeftOutWhenTheirRowHasGone)
{
    const auto a = setup.add("A", 1000);
    const auto b = setup.add("B", 1000);
    options.leftOut = std::make_shared<std::atomic<std::uint64_t>>(0);
    const auto received = [](std::uint64_t time) { return kStart + time * kMillisecond; };
    sink().write(MadeUpBatch(received(0)).counted(a, 0, 3, 1000));
    EXPECT_EQ(rows(), Rows{});
    sink().write(MadeUpBatch(received(700)).counted(a, 3, 2, 1000));
    EXPECT_EQ(rows(), (Rows{{0, -1}, {1, -1}, {2, -1}, {3, -1}, {4, -1}}));
    sink().write(MadeUpBatch(received(701)).counted(b, 2, 4, 1000));
    EXPECT_EQ(*options.leftOut, 3U);
    sink().write(MadeUpBatch(received(702)).counted(a, 5, 1, 1000));
    EXPECT_EQ(rows().back(), (std::vector<float>{5, 5}));
}

TEST_F(PlainNumbers, AreRefusedForWhatTheyCannotHold)
{
    EXPECT_THAT(refusal(), HasSubstr("no signal"));
    setup.add("A", 1200);
    setup.add("B", 0.5);
    EXPECT_EQ(refusal(), "f32 takes signals of one rate: A has 1200 Hz, B 0.5 Hz");
    setup.signals.pop_back();
    setup.add("C", 0);
    EXPECT_THAT(refusal(), HasSubstr("C is not sampled evenly"));
    setup = MadeUp({"A", "B"});
    setup.add("A", 1200);
    EXPECT_THAT(refusal(), HasSubstr("on the host's time"));
    EXPECT_FALSE(std::filesystem::exists(options.target.name));
}

} // namespace
} // namespace zel::test
