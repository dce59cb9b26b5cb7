#include "frame.h"
#include "number_format.h"
#include "ZEL_VR_Framework.h"

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>
#include <string>

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct DoubleCase {
    double value;
    const char* text;
};

// Six decimals between 0.1 and 100000 and for zero, else scientific.
constexpr DoubleCase kParameterTexts[] = {
    {0.0, "0.000000"},
    {-0.0, "0.000000"},
    {1.5, "1.500000"},
    {-1.5, "-1.500000"},
    {0.1, "0.100000"},
    {0.0999999, "9.999990e-02"},
    {0.05, "5.000000e-02"},
    {-0.05, "-5.000000e-02"},
    {100000.0, "100000.000000"},
    {-100000.0, "-100000.000000"},
    {100000.5, "1.000005e+05"},
    {250000.0, "2.500000e+05"},
    {2147483648.0, "2.147484e+09"},
    {99999.9999996, "100000.000000"},
    {-1.7976931348623157e308, "-1.797693e+308"},
    {5e-324, "4.940656e-324"},
    {kNaN, "nan"},
    {kInfinity, "inf"},
    {-kInfinity, "-inf"},
};

struct FixedCase {
    double value;
    unsigned decimals;
    const char* text;
};

constexpr FixedCase kFixedTexts[] = {
    // halves at the last decimal round to even
    {0.5, 0, "0"},
    {1.5, 0, "2"},
    {2.5, 0, "2"},
    {-2.5, 0, "-2"},
    {0.125, 2, "0.12"},
    {0.375, 2, "0.38"},
    {0.0625, 3, "0.062"},
    {0.1875, 3, "0.188"},
    {-0.1875, 3, "-0.188"},
    // a carry reaches the integer part
    {0.999, 2, "1.00"},
    {9.9999999, 6, "10.000000"},
    {-99.96, 1, "-100.0"},
    // a negative value that rounds to zero keeps its sign
    {-0.04, 1, "-0.0"},
    {-0.0, 3, "0.000"},
    // nine decimals are the most
    {1.5, 9, "1.500000000"},
    {1.5, 12, "1.500000000"},
    {0.000000001, 9, "0.000000001"},
    {2147483647.0, 2, "2147483647.00"},
    {2147483648.0, 2, "2.147484e+09"},
    {-2147483648.0, 9, "-2.147484e+09"},
    {kNaN, 3, "nan"},
    {kInfinity, 3, "inf"},
};

void expectAllTexts()
{
    for (const DoubleCase& row : kParameterTexts)
        EXPECT_EQ(formatParameterDouble(row.value), row.text) << row.value;
    for (const FixedCase& row : kFixedTexts)
        EXPECT_EQ(formatFixed(row.value, row.decimals), row.text)
            << row.value << " with " << row.decimals;

    EXPECT_EQ(formatParameterDouble(100000.5, 8), "1.00000500e+05");
    EXPECT_EQ(formatFixed(100000.5, 8), "100000.50000000");
    EXPECT_EQ(formatParameterDouble(-0.05, 3), "-5.000e-02");
    EXPECT_EQ(formatFixed(-0.05, 3), "-0.050");
    EXPECT_EQ(formatParameterDouble(0.0, 8), "0.00000000");
    EXPECT_EQ(formatParameterDouble(kNaN, 8), "nan");

    double value = 0;
    EXPECT_EQ(parseNumber("2.5", value), ZEL_OK);
    EXPECT_EQ(value, 2.5);
}

TEST(NumberTexts, AreWrittenByTheRules)
{
    expectAllTexts();
}

class CommaPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(NumberTexts, DoNotDependOnTheHostsLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const std::locale streams =
        std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German", "de-DE"})
        if (std::setlocale(LC_ALL, name) != nullptr)
            break;
    expectAllTexts();
    EXPECT_EQ(
        frameLogLine({.payloadLength = 54321, .source = 0x102030405060708}, FrameDirection::sent),
        "Con     : tx Hlen:16 Src:102030405060708 Type: TRANS: Dlen:54321");
    std::locale::global(streams);
    std::setlocale(LC_ALL, before.c_str());
}

template <class Number>
void expectNumber(std::string_view text, Number expected)
{
    Number value{};
    EXPECT_EQ(parseNumber(text, value), ZEL_OK) << text;
    EXPECT_EQ(value, expected) << text;
}

template <class Number>
void expectNoNumber(std::string_view text)
{
    Number value = 77;
    EXPECT_EQ(parseNumber(text, value), ZEL_UTIL_STRING_CONVERSION) << text;
    EXPECT_EQ(value, Number{77}) << text;
}

TEST(NumberTexts, AreReadWholeOrNotAtAll)
{
    expectNumber<std::uint64_t>("0", 0);
    expectNumber<std::uint64_t>("18446744073709551615", 18446744073709551615U);
    expectNumber<std::uint64_t>("0x0102030405060708", 0x0102030405060708U);
    expectNumber<std::uint64_t>(" \n+12\t\v\f", 12);
    expectNumber<std::uint32_t>({"1\0x", 3}, 1);
    expectNumber<double>({"1.5 \0", 5}, 1.5);
    expectNumber<std::uint32_t>("0xffFFffFF", 0xFFFFFFFFU);
    expectNumber<std::int32_t>("-2147483648", std::numeric_limits<std::int32_t>::min());
    expectNumber<std::int32_t>("0x10", 16);
    expectNumber<std::int64_t>("-1000201", -1000201);
    expectNumber<double>("-1.25e3", -1250.0);
    expectNumber<double>("+0.5", 0.5);
    expectNumber<double>("0x1A", 26.0);

    for (const char* text : {"", " ", "-", "+", "+-1", "0x", "0x-1", "0X10", "x", "1x", "1 2"}) {
        expectNoNumber<std::uint64_t>(text);
        expectNoNumber<std::int32_t>(text);
        expectNoNumber<double>(text);
    }
    for (const char* text : {"-1", "-0", "1.5", "18446744073709551616", "0x10000000000000000"})
        expectNoNumber<std::uint64_t>(text);
    for (const char* text : {"4294967296", "0x100000000"})
        expectNoNumber<std::uint32_t>(text);
    for (const char* text : {"2147483648", "-2147483649", "0x80000000"})
        expectNoNumber<std::int32_t>(text);
    for (const char* text : {"1,5", "1e999", "0xinf", "1.5 mV"})
        expectNoNumber<double>(text);
    expectNoNumber<std::uint32_t>(std::string_view("\0001", 2));
}

} // namespace
} // namespace zel
