#include "hexadecimal.h"
#include "ZEL_VR_Framework.hpp"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

/// Of exactly its size, so that a sanitizer sees every byte beyond.
std::vector<std::byte> bytesOf(const std::string& text)
{
    const auto* const data = reinterpret_cast<const std::byte*>(text.data());
    return {data, data + text.size()};
}

//                        kind type id   count    time stamp       extra            data
const std::string kFloats = unhex("01 24 0001 00000003 00000000000003e8 00000000000124f8"
                                  "3fc00000 7f7fffff 7fc00000");
const std::string kTimed = unhex("02 5c 0002 00000002 0000000000000005 42280000 00000000"
                                 "0000000000000005 fffffffe 0000000000000009 7fffffff");
const std::string kUnsigned = unhex("01 e0 0003 00000001 0000000000000007 0000000000000000"
                                    "0000000000000007 ffffffffffffffff");
const std::string kEmpty = unhex("02 14 0004 00000000 0000000000000001 7fffffff 00000000");
const std::string kStrange = unhex("01 11 0005 00000002 0000000000000001 0000000000000000 aabb");

TEST(CppBlocks, AreRangesOfRecordsWithValuesAndTimes)
{
    const auto bytes = bytesOf(kFloats + kTimed + kUnsigned + kEmpty + kStrange);
    const Block block{bytes};
    auto record = block.begin();

    EXPECT_EQ(record->signalId(), 1);
    EXPECT_EQ(record->millihertz(), 75000u);
    EXPECT_TRUE(record->holds<float>());
    const auto floats = record->values<float>();
    EXPECT_EQ(floats[0], 1.5F);
    EXPECT_TRUE(isNoValue(floats[1]) && isNoValue(floats[2]));
    std::vector<double> doubles;
    EXPECT_EQ(record->values(doubles).size(), 3u);
    EXPECT_EQ(doubles, (std::vector<double>{1.5, noValue<double>, noValue<double>}));
    EXPECT_EQ(record->times()[2], 1000u + 26'666'666);
    EXPECT_EQ(record->time(2), 1000u + 26'666'666);
    EXPECT_THROW(record->time(3), std::out_of_range);
    EXPECT_THROW(record->copyValues(std::span(doubles).first(2)), std::invalid_argument);
    EXPECT_EQ(record->valueBefore(), std::nullopt);

    ++record;
    EXPECT_TRUE(record->isTimed());
    EXPECT_EQ(record->valueBefore(), 42.0);
    EXPECT_EQ(record->values<std::int32_t>()[0], -2);
    EXPECT_EQ(record->values<std::int64_t>()[1], noValue<std::int64_t>);
    EXPECT_EQ(record->values<double>()[1], noValue<double>);
    EXPECT_EQ(record->times()[1], 9u);
    EXPECT_EQ(record->time(1), 9u);
    EXPECT_EQ(record->millihertz(), 0u);
    for (const auto refused : {+[](const Record& one) { one.values<float>(); },
                               +[](const Record& one) { one.values<std::uint32_t>(); },
                               +[](const Record& one) { one.values<std::uint64_t>(); }}) {
        try {
            refused(*record);
            ADD_FAILURE();
        } catch (const Error& error) {
            EXPECT_EQ(error.code(), ZEL_SRV_INVALID_PARAMETERS);
            EXPECT_EQ(error.codeText(), "they are of type Int32, timed");
        }
    }

    ++record;
    EXPECT_TRUE(isNoValue(record->values<std::uint64_t>()[0]));
    EXPECT_TRUE(isNoValue(record->values<double>()[0]));
    EXPECT_THROW(record->values<std::int64_t>(), Error);

    ++record;
    EXPECT_EQ(record->count(), 0u);
    EXPECT_EQ(record->valueBefore(), std::nullopt);
    EXPECT_TRUE(record->values<double>().empty() && record->times(1000).empty());

    ++record;
    EXPECT_THROW(record->values<double>(), Error);
    EXPECT_EQ(record->data().size(), 2u);
    EXPECT_EQ(record->times(500'000)[1], 1u + 2'000'000);
    ++record;
    EXPECT_EQ(record, block.end());
}

TEST(CppBlocks, ThatAreCutTellWhereAfterTheRecordsBefore)
{
    const std::string whole = kFloats + kTimed;
    const std::string lie = unhex("01 24 0007 ffffffff 0000000000000000 0000000000000000 00000000");
    const std::string kind = unhex("03 24 0007 00000000 0000000000000000 0000000000000000");
    std::vector<std::string> bad = {whole + lie, whole + kind};
    for (std::size_t size = whole.size() + 1; size < whole.size() + kEmpty.size(); ++size)
        bad.push_back((whole + kEmpty).substr(0, size));
    for (const std::string& text : bad) {
        const auto bytes = bytesOf(text);
        const Block block{bytes};
        std::size_t records = 0;
        try {
            for (const Record& record : block)
                records += record.times().empty() ? 0U : 1U;
            ADD_FAILURE() << text.size() << " bytes";
        } catch (const Error& error) {
            EXPECT_EQ(error.code(), ZEL_DAQ_NO_RECORD);
            EXPECT_EQ(error.tried(),
                      "read record 2 of a block, at byte 84 of " + std::to_string(text.size()));
        }
        EXPECT_EQ(records, 2u);
    }
    EXPECT_EQ(Block{}.begin(), Block{}.end());
}

// Every data type in pieces: a record longer than what is converted at once.
TEST(CppBlocks, ConvertLongRecordsOfEveryType)
{
    constexpr std::uint32_t kCount = 3000;
    for (const int number : {20, 24, 36, 40, 80, 92, 96, 108, 224, 236}) {
        const auto type = static_cast<std::uint8_t>(number);
        std::string text = unhex("01") + static_cast<char>(type) +
                           unhex("0001 00000bb8 0000000000000000 0000000000000001");
        for (std::uint32_t i = 0; i < kCount; ++i) {
            const auto append = [&](std::uint64_t bits, int bytes) {
                while (bytes-- > 0)
                    text += static_cast<char>(bits >> (8 * bytes));
            };
            const double real = i;
            const auto shortReal = static_cast<float>(i);
            std::uint64_t bits = i;
            std::uint32_t shortBits = 0;
            std::memcpy(&shortBits, &shortReal, sizeof shortBits);
            if (type == 40 || type == 96)
                std::memcpy(&bits, &real, sizeof bits);
            if (isTimed(type))
                append(7 * i, 8);
            const bool isShort = (type & 15) == 4 || (type & 15) == 12;
            append(type == 36 || type == 108 ? shortBits : bits, isShort ? 4 : 8);
        }
        const auto bytes = bytesOf(text);
        const Block block{bytes};
        const Record record = *block.begin();
        const auto values = record.values<double>();
        const auto times = record.times();
        for (std::uint32_t i = 0; i < kCount; ++i) {
            ASSERT_EQ(values[i], i) << int{type};
            ASSERT_EQ(times[i], isTimed(type) ? 7 * i : timeOfIndex(i, 1)) << int{type};
        }
    }
}

TEST(CppBlocks, CountTimesWithoutAnError)
{
    struct Case {
        std::uint64_t index, millihertz, time;
    };
    for (const Case& one : {Case{1, 1'200'000, 833'333},
                            {1199, 1'200'000, 999'166'666},
                            {1'200'000, 1'200'000, 1'000'000'000'000},
                            {44'099, 44'100'000, 999'977'324},
                            {30'001, 3, 10'000'333'333'333'333},
                            {100'000'000'001, 100'000'000'000, 1'000'000'000'010},
                            {9'999'999, 30'000'000'000'000, 333'333},
                            {7, 0, 0}})
        EXPECT_EQ(timeOfIndex(one.index, one.millihertz), one.time) << one.index;
    // Those of a whole record are counted from one to the next.
    for (const char* const rate : {"0000000000124f80", "0000000000000003", "0000000002a0e8a0",
                                   "000000e8d4a51000", "000000e8d4a51001", "0000000000000000"}) {
        const auto bytes =
            bytesOf(unhex("01 11 0001 00002710 0000000000000064" + std::string(rate)) +
                    std::string(10000, '#'));
        const Block block{bytes};
        const auto times = block.begin()->times();
        for (std::uint32_t i = 0; i < 10000; ++i)
            ASSERT_EQ(times[i], 100 + timeOfIndex(i, block.begin()->millihertz())) << rate;
    }
}

TEST(CppBlocks, OwnTheirBytesUntilTheyAreMoved)
{
    Block block(100);
    const auto bytes = bytesOf(kFloats);
    std::memcpy(block.room(), bytes.data(), bytes.size());
    block.setSize(bytes.size());
    Block other = std::move(block);
    EXPECT_EQ(other.begin()->values<float>()[0], 1.5F);
    EXPECT_TRUE(block.empty());
    EXPECT_EQ(block.capacity(), 0u);
    block = std::move(other);
    EXPECT_EQ(block.begin()->count(), 3u);
    EXPECT_EQ(other.begin(), other.end());
    block.setSize(1000);
    EXPECT_EQ(block.bytes().size(), 100u);
    EXPECT_THROW(Block(0), std::invalid_argument);
}

} // namespace
} // namespace zel::test
