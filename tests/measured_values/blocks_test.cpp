#include "byte_swapping.h"
#include "hexadecimal.h"
#include "ZEL_VR_Framework.h"

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zel::test {
namespace {

struct Found {
    std::int32_t result = 0;
    ZEL_DaqHeader header{};
    std::uint64_t offset = 99;
};

Found find(const std::string& block, std::uint32_t mode, std::uint32_t key)
{
    // Of exactly its size, so that a sanitizer sees every byte beyond.
    const std::vector<char> exact(block.begin(), block.end());
    Found found;
    std::memset(&found.header, 0x5A, sizeof found.header);
    found.result =
        ZEL_XUTIL_GetDaqHeader(mode, key, exact.data(), exact.size(), &found.header, &found.offset);
    return found;
}

bool isZero(const ZEL_DaqHeader& header)
{
    const ZEL_DaqHeader zero{};
    return std::memcmp(&header, &zero, sizeof zero) == 0;
}

//                        kind type id   count    time stamp       extra            data
const std::string kInts =
    unhex("01   14   0007 00000002 0102030405060708 00000000000124f8 00000001 80000000");
const std::string kEmpty = unhex("02   28   0009 00000000 0000000000000001 3ff0000000000000");
const std::string kCan = unhex("02   6c   0007 00000001 00000000000000ff 3f800000 deadbeef"
                               "  1122334455667788 40490fdb");
const std::string kBytes = unhex("02 11 0008 00000003 0000000000000000 0102030405060708 aabbcc");

TEST(Blocks, AreWalkedBySignalAndByIndex)
{
    const std::string block = kInts + kEmpty + kCan + kBytes;
    Found found = find(block, ZEL_DAQ_BY_SIGNAL, 7);
    EXPECT_EQ(found.result, ZEL_OK);
    EXPECT_EQ(found.offset, 24u);
    EXPECT_EQ(found.header.kind, 1);
    EXPECT_EQ(found.header.dataType, 20);
    EXPECT_EQ(found.header.signalId, 7);
    EXPECT_EQ(found.header.count, 2u);
    EXPECT_EQ(found.header.timeStamp, 0x0102030405060708u);
    EXPECT_EQ(found.header.extra.u64, 75000u);

    found = find(block, ZEL_DAQ_BY_INDEX, 1);
    EXPECT_EQ(found.offset, kInts.size() + 24);
    EXPECT_EQ(found.header.extra.f64, 1.0);

    found = find(block, ZEL_DAQ_BY_INDEX, 2);
    EXPECT_EQ(found.offset, kInts.size() + kEmpty.size() + 24);
    EXPECT_EQ(found.header.extra.f32, 1.0F);

    found = find(block, ZEL_DAQ_BY_SIGNAL, 8);
    EXPECT_EQ(found.result, ZEL_OK);
    EXPECT_EQ(std::memcmp(found.header.extra.bytes, "\x01\x02\x03\x04\x05\x06\x07\x08", 8), 0);

    for (const auto& [mode, key] :
         {std::pair{ZEL_DAQ_BY_INDEX, 4u}, {ZEL_DAQ_BY_SIGNAL, 77u}, {2u, 0u}}) {
        found = find(block, mode, key);
        EXPECT_EQ(found.result, ZEL_DAQ_NO_RECORD);
        EXPECT_EQ(found.offset, 0u);
        EXPECT_TRUE(isZero(found.header));
    }
}

TEST(Blocks, ThatLieAreNotFollowed)
{
    const std::string unknown = unhex("03 14 0007 00000001 0000000000000000 0000000000000000");
    EXPECT_EQ(find(unknown, ZEL_DAQ_BY_SIGNAL, 7).result, ZEL_DAQ_NO_RECORD);
    EXPECT_EQ(find(kInts + unknown, ZEL_DAQ_BY_INDEX, 1).result, ZEL_DAQ_NO_RECORD);
    const std::string tooMany =
        unhex("01 50 0007 ffffffff 0000000000000000 0000000000000000 0011223344556677");
    EXPECT_EQ(find(tooMany, ZEL_DAQ_BY_SIGNAL, 7).result, ZEL_DAQ_NO_RECORD);
    for (std::size_t size = 1; size < kInts.size(); ++size)
        EXPECT_EQ(find(kInts.substr(0, size), ZEL_DAQ_BY_SIGNAL, 7).result, ZEL_DAQ_NO_RECORD);

    Found found;
    EXPECT_EQ(ZEL_XUTIL_GetDaqHeader(0, 0, nullptr, 24, &found.header, &found.offset),
              ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XUTIL_GetDaqHeader(0, 0, "", 0, nullptr, &found.offset), ZEL_SYS_BAD_PARAMETER);
    EXPECT_EQ(ZEL_XUTIL_GetDaqHeader(0, 0, "", 0, &found.header, nullptr), ZEL_SYS_BAD_PARAMETER);
}

/// `count` elements of a type, each byte another one, converted into `room` bytes.
std::string converted(std::uint8_t type, std::uint32_t count, std::size_t room, std::string& data)
{
    const std::size_t element = (type & 15) == 0 ? 16 : type & 15;
    data.clear();
    for (std::size_t i = 0; i < element * count; ++i)
        data += static_cast<char>(i * 7 + 3);
    ZEL_DaqHeader header{};
    header.kind = 1;
    header.dataType = type;
    header.count = count;
    // At an odd place: nothing in a block is aligned.
    const std::string block = '#' + data;
    const std::vector<char> exact(block.begin(), block.end());
    std::vector<char> output(room + 3, '#');
    EXPECT_EQ(ZEL_XUTIL_GetDaqData(1, exact.data(), &header, output.data() + 1, room), ZEL_OK);
    EXPECT_EQ(output.front(), '#');
    EXPECT_EQ(std::string(output.end() - 2, output.end()), "##");
    return {output.begin() + 1, output.end() - 2};
}

TEST(BlockData, IsTurnedElementByElement)
{
    struct Case {
        std::uint8_t type;
        std::vector<std::size_t> parts;
    };
    for (const Case& what : {Case{20, {4}},
                             {36, {4}},
                             {24, {8}},
                             {40, {8}},
                             {80, {8, 8}},
                             {96, {8, 8}},
                             {224, {8, 8}},
                             {92, {8, 4}},
                             {108, {8, 4}},
                             {236, {8, 4}},
                             {17, {1}},
                             {237, {13}},
                             {18, {1, 1}}}) {
        std::size_t element = 0;
        for (const std::size_t part : what.parts)
            element += part;
        for (const std::uint32_t count : {0u, 1u, 2u, 3u, 7u, 8u, 33u, 100u}) {
            std::string data;
            const bool isKnown = what.type != 17 && what.type != 18 && what.type != 237;
            const std::string output = converted(what.type, count, element * count + 5, data);
            std::string expected;
            for (std::size_t at = 0; at < data.size();) {
                for (const std::size_t part : what.parts) {
                    const std::string number = data.substr(at, part);
                    expected += isKnown ? std::string{number.rbegin(), number.rend()} : number;
                    at += part;
                }
            }
            EXPECT_EQ(output, expected + "#####") << int{what.type} << " x " << count;
        }
    }
}

// Whatever the processor has, and also in place.
TEST(BlockData, IsTheSameWithAndWithoutVectors)
{
    using daq::Vectors;
    using Turn = void (*)(const std::byte*, std::byte*, std::size_t, Vectors);
    for (const auto& [turn, element] : std::initializer_list<std::pair<Turn, std::size_t>>{
             {daq::swap4, 4}, {daq::swap8, 8}, {daq::swap8And4, 12}}) {
        std::vector<std::size_t> counts{127, 200, 301};
        for (std::size_t elements = 0; elements < 70; ++elements)
            counts.push_back(elements);
        for (const std::size_t elements : counts) {
            std::vector<std::byte> source(element * elements);
            for (std::size_t i = 0; i < source.size(); ++i)
                source[i] = static_cast<std::byte>(i * 5 + elements);
            std::vector<std::byte> expected(source.size());
            turn(source.data(), expected.data(), elements, Vectors::none);
            for (const Vectors vectors : {Vectors::avx2, Vectors::avx512}) {
                if (vectors > daq::bestVectors())
                    continue;
                // Where the destination lies in its cache line decides how it is written.
                for (const std::size_t shift : {0u, 3u, 4u, 8u, 56u}) {
                    std::vector<std::byte> output(shift + source.size());
                    turn(source.data(), output.data() + shift, elements, vectors);
                    output.erase(output.begin(),
                                 output.begin() + static_cast<std::ptrdiff_t>(shift));
                    EXPECT_EQ(output, expected) << elements << " at " << shift;
                }
                std::vector<std::byte> inPlace = source;
                turn(inPlace.data(), inPlace.data(), elements, vectors);
                EXPECT_EQ(inPlace, expected) << elements;
            }
        }
    }
}

TEST(BlockData, IsCutToWholeElements)
{
    std::string data;
    EXPECT_EQ(converted(24, 2, 7, data), "#######");
    EXPECT_EQ(converted(24, 2, 15, data).substr(8), "#######");
    EXPECT_EQ(converted(108, 5, 35, data).substr(24), std::string(11, '#'));
    // A type that nobody knows is copied byte for byte.
    EXPECT_EQ(converted(250, 2, 7, data), data.substr(0, 7));

    ZEL_DaqHeader header{};
    header.dataType = 20;
    header.count = 1;
    char output[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(ZEL_XUTIL_GetDaqData(0, nullptr, &header, output, 4), ZEL_OK);
    EXPECT_EQ(ZEL_XUTIL_GetDaqData(0, "1234", nullptr, output, 4), ZEL_OK);
    EXPECT_EQ(ZEL_XUTIL_GetDaqData(0, "1234", &header, nullptr, 4), ZEL_OK);
    EXPECT_EQ(std::string(output, 4), "abcd");
}

TEST(NilValues, AreTheLargestNumbers)
{
    double real = 0;
    std::int32_t integer = 0;
    std::uint32_t word = 0;
    EXPECT_EQ(ZEL_XUTIL_GetNilValues(&real, &integer, &word), ZEL_OK);
    EXPECT_EQ(real, 1.7976931348623157e308);
    EXPECT_EQ(integer, 0x7FFFFFFF);
    EXPECT_EQ(word, 0xFFFFFFFFu);
    EXPECT_EQ(ZEL_XUTIL_GetNilValues(nullptr, nullptr, nullptr), ZEL_OK);
}

} // namespace
} // namespace zel::test
