#include "units.h"
#include "ZEL_VR_Framework.h"

#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zel {
namespace {

TEST(Units, HaveTheirCodesFactorsAndEncodedForms)
{
    // Rows that modules and other hosts rely on, to the last bit.
    constexpr Unit kRows[] = {
        {100, 1, 0, "rad", 0x100000},
        {102, 0.017453292519943295, 0, "°", 0x410000},
        {103, 0.017453292519943295, 0, "%degrees", 0},
        {300, 1, 0, "m", 0x10000},
        {301, 1e-06, 0, "µm", 0xFA010000},
        {306, 0.0254, 0, "inch", 0xEC0001},
        {404, 907.18474, 0, "tons", 0},
        {700, 1, 0, "K", 0x50000},
        {701, 1, -273.15, "°C", 0x2D0000},
        {702, 0.5555555555555556, -255.37222222222223, "°F", 0xAC0000},
        {703, 0.5555555555555556, 0, "°Rank", 0},
        {704, 1.25, -273.15, "°R", 0},
        {1701, 0.10471975511965977, 0, "U/min", 0x4700},
        {1903, 9.80665, 0, "kp", 0xED0001},
        {2007, 6894.757293, 0, "psi", 0xAB0000},
        {2013, 133.322368421083, 0, "torr", 0},
        {2101, 1, 0, "Nm", 0x560000},
        {2100, 1, 0, "J", 0x230000},
        {2302, 1, 0, "strain", 0x10100},
        {2501, 9.80665, 0, "ga", 0},
        {2900, 0.01, 0, "%", 0xFE000000},
        {5002, 0.001, 0, "dB", 0},
        {5018, 0.05, 0, "dBV", 0},
        {100000, 1, 0, "UserDefined", 0},
    };
    for (const Unit& row : kRows) {
        const Unit* const found = findUnit(row.code);
        ASSERT_NE(found, nullptr) << row.code;
        EXPECT_STREQ(found->name, row.name);
        EXPECT_EQ(found->factor, row.factor) << row.name;
        EXPECT_EQ(found->offset, row.offset) << row.name;
        EXPECT_EQ(found->encoded, row.encoded) << row.name;
        EXPECT_EQ(findUnit(row.name), found);
    }
}

TEST(Units, AreNumberedWithoutGapsWithinTheirHundred)
{
    EXPECT_EQ(units().size(), 167U);
    std::uint32_t last = 99;
    for (const Unit& row : units()) {
        EXPECT_EQ(findUnit(row.code), &row) << row.name;
        EXPECT_EQ(findUnit(row.name), &row);
        if (row.encoded != 0) {
            EXPECT_EQ(unitCodeOfEncoded(row.encoded), static_cast<std::int32_t>(row.code));
        }
        const bool isFirst = row.code % 100 == 0 || row.code == 2101 || row.code == 5001;
        EXPECT_TRUE(isFirst || row.code == last + 1 || row.code == 2102) << row.name;
        last = row.code;
    }
    EXPECT_EQ(unitCodeOfEncoded(0), ZEL_UNIT_NOT_FOUND);
    EXPECT_EQ(unitCodeOfEncoded(0x7F7F7F7F), ZEL_UNIT_NOT_FOUND);
}

TEST(Units, AreConvertedWithinOneQuantity)
{
    struct Case {
        double value;
        const char* from;
        const char* to;
        double expected;
    };
    // The expected values are those of the units' definitions.
    constexpr Case kCases[] = {
        {20, "°C", "K", 293.15},         {-40, "°F", "°C", -40},
        {491.67, "°Rank", "°C", 0},      {80, "°R", "°C", 100},
        {1, "mile", "m", 1609.344},      {1, "lb", "N", 4.4482216152605},
        {1, "gpm", "l/h", 227.12470704}, {1, "cfm", "l/s", 0.4719474432},
        {760, "torr", "atm", 1},         {1, "mmHg", "Pa", 133.322387415},
        {16, "oz-in", "lbf-in", 1},      {1, "lbf-ft", "Nm", 1.3558179483314},
        {60, "mph", "km/h", 96.56064},   {180, "°", "radian", 3.14159265358979},
        {1, "mole/l", "mole/m³", 1000},  {0.1, "l/l", "m³/m³", 0.1},
    };
    for (const Case& row : kCases) {
        const auto converted = convert(row.value, *findUnit(row.from), *findUnit(row.to));
        ASSERT_TRUE(converted) << row.from << row.to;
        EXPECT_NEAR(*converted, row.expected, 1e-9 * (1 + std::abs(row.expected))) << row.from;
    }
    EXPECT_FALSE(convert(1, *findUnit("m"), *findUnit("kg")));
    EXPECT_FALSE(convert(1, *findUnit("dB"), *findUnit("dBV")));
    EXPECT_EQ(convert(0.1, *findUnit("hPa"), *findUnit("mbar")), 0.1);
}

TEST(Units, AreFoundByManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (const Unit& row : units())
                EXPECT_EQ(ZEL_XUTIL_GetUnitCodeFromName(row.name),
                          static_cast<std::int32_t>(row.code));
        });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace zel
