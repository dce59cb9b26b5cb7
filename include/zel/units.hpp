/**
 * @file units.hpp
 * The physical units that modules number. Included by ZEL_VR_Framework.hpp. Nothing in here needs a
 * started library or asks a module; all of it returns at once, on any thread.
 */
#ifndef ZEL_UNITS_HPP
#define ZEL_UNITS_HPP

#include "../ZEL_VR_Framework.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace zel {

/// A physical unit as modules number it. A value in this unit becomes one in the base unit of its
/// quantity by: base value = value * factor - offset.
struct Unit {
    std::uint32_t code;
    double factor;
    double offset;
    const char* name; ///< UTF-8, unique
    /// In SI exponents: the top byte is a signed power of ten, the next one the unit above the
    /// fraction bar, the next one the unit below it; 0 where the unit has no such form.
    std::uint32_t encoded;
};

namespace detail {

// Exact by definition: the international yard and pound (1959), the standard acceleration of free
// fall (3rd CGPM, 1901), the US liquid gallon (231 cubic inches), the standard atmosphere (10th
// CGPM, 1954).
inline constexpr double kFoot = 0.3048;
inline constexpr double kInch = 0.0254;
inline constexpr double kPound = 0.45359237;
inline constexpr double kFreeFall = 9.80665;
inline constexpr double kPoundForce = kPound * kFreeFall;
inline constexpr double kGallon = 231 * kInch * kInch * kInch;
inline constexpr double kAtmosphere = 101325;
// The millimetre of mercury: a column of 13595.1 kg/m3 under standard free fall (ISO 80000-4).
inline constexpr double kMercury = 13595.1 * kFreeFall * 1e-3;

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDegree = kPi / 180;
inline constexpr double kPerMinute = 2 * kPi / 60; // one revolution
inline constexpr double kMinute = 60;
inline constexpr double kHour = 3600;
inline constexpr double kLitre = 1e-3;

inline constexpr double kFahrenheit = 5.0 / 9;
inline constexpr double kIcePoint = 273.15;
inline constexpr double kFahrenheitZero = 255.37222222222223; // 459.67 * 5 / 9

// The values that modules work with stand as such where they differ from the definition in the last
// digits (psi, torr), and where they follow no definition (the levels in decibels).
// The order is part of the table: searches take the first row that fits.
inline constexpr Unit kUnits[] = {
    // angle
    {100, 1, 0, "rad", 0x00100000},
    {101, 1, 0, "radian", 0},
    {102, kDegree, 0, "°", 0x00410000},
    {103, kDegree, 0, "%degrees", 0},
    // length
    {300, 1, 0, "m", 0x00010000},
    {301, 1e-6, 0, "µm", 0xFA010000},
    {302, 1e-3, 0, "mm", 0xFD010000},
    {303, 1e-2, 0, "cm", 0xFE010000},
    {304, 1e-1, 0, "dm", 0xFF010000},
    {305, 1e3, 0, "km", 0x03010000},
    {306, kInch, 0, "inch", 0x00EC0001},
    {307, kFoot, 0, "feet", 0},
    {308, 3 * kFoot, 0, "yard", 0},
    {309, 5280 * kFoot, 0, "mile", 0},
    {310, 1e-9, 0, "nm", 0xF7010000},
    // mass
    {400, 1, 0, "kg", 0x00020000},
    {401, 1e-3, 0, "g", 0xFD020000},
    {402, 1e3, 0, "t", 0x03020000},
    {403, 1e6, 0, "kt", 0x06020000},
    {404, 2000 * kPound, 0, "tons", 0}, // of 2000 pounds
    {405, kPound, 0, "lbs", 0},
    {406, 1e-6, 0, "mg", 0xFA020000},
    {407, 1e-9, 0, "µg", 0xF7020000},
    // time
    {500, 1, 0, "s", 0x00030000},
    {501, 1e-3, 0, "ms", 0xFD030000},
    {502, 1e-6, 0, "µs", 0xFA030000},
    {503, kMinute, 0, "min", 0x00470000},
    {504, kHour, 0, "h", 0},
    {505, 24 * kHour, 0, "days", 0},
    // current
    {600, 1, 0, "A", 0x00040000},
    {601, 1, 0, "A rms", 0},
    {602, 1e-3, 0, "mA", 0xFD040000},
    {603, 1e-6, 0, "µA", 0xFA040000},
    {604, 1e-3, 0, "mA rms", 0},
    {605, 1e-6, 0, "µA rms", 0},
    // temperature
    {700, 1, 0, "K", 0x00050000},
    {701, 1, -kIcePoint, "°C", 0x002D0000},
    {702, kFahrenheit, -kFahrenheitZero, "°F", 0x00AC0000},
    {703, kFahrenheit, 0, "°Rank", 0},
    {704, 1.25, -kIcePoint, "°R", 0}, // Réaumur
    // bridge ratio
    {1000, 1, 0, "V/V", 0x00262600},
    {1001, 1e-3, 0, "mV/V", 0xFD262600},
    {1002, 1e-6, 0, "µV/V", 0xFA262600},
    // voltage
    {1100, 1, 0, "V", 0x00260000},
    {1101, 1e-3, 0, "mV", 0xFD260000},
    {1102, 1e-6, 0, "µV", 0xFA260000},
    {1103, 1, 0, "V rms", 0},
    {1104, 1e-3, 0, "mV rms", 0},
    {1105, 1e-6, 0, "µV rms", 0},
    {1106, 1e3, 0, "kV", 0x03260000},
    // resistance
    {1200, 1, 0, "Ohm", 0x00280000},
    {1201, 1e3, 0, "kOhm", 0x03280000},
    {1202, 1e6, 0, "MOhm", 0x06280000},
    {1203, 1e-3, 0, "mOhm", 0xFD280000},
    // inductance
    {1300, 1, 0, "H", 0x002C0000},
    {1301, 1e-3, 0, "mH", 0xFD2C0000},
    {1302, 1e-6, 0, "µH", 0xFA2C0000},
    {1303, 1e-9, 0, "nH", 0xF72C0000},
    // capacitance
    {1400, 1, 0, "F", 0x00270000},
    {1401, 1e-3, 0, "mF", 0xFD270000},
    {1402, 1e-6, 0, "µF", 0xFA270000},
    {1403, 1e-9, 0, "nF", 0xF7270000},
    {1404, 1e-12, 0, "pF", 0xF4270000},
    // charge
    {1500, 1, 0, "C", 0x00250000},
    {1501, 1e-9, 0, "nC", 0xF7250000},
    {1502, 1e-12, 0, "pC", 0xF4250000},
    // frequency
    {1600, 1, 0, "Hz", 0x00200000},
    {1601, 1e3, 0, "kHz", 0x03200000},
    {1602, 1e6, 0, "MHz", 0x06200000},
    {1603, 1, 0, "1/s", 0x00000300},
    {1604, 1e-3, 0, "mHz", 0xFD200000},
    {1605, 1e9, 0, "GHz", 0x09200000},
    // rotational speed
    {1700, 1, 0, "radian/s", 0x00100300},
    {1701, kPerMinute, 0, "U/min", 0x00004700},
    {1702, kPerMinute, 0, "rpm", 0},
    {1703, kPerMinute, 0, "1/min", 0},
    // power
    {1800, 1, 0, "W", 0x00240000},
    {1801, 1e-3, 0, "mW", 0xFD240000},
    {1802, 1e3, 0, "kW", 0x03240000},
    {1803, 1e6, 0, "MW", 0x06240000},
    {1804, 1e9, 0, "GW", 0x09240000},
    {1805, 1e-6, 0, "µW", 0xFA240000},
    // force
    {1900, 1, 0, "N", 0x00210000},
    {1901, 1e3, 0, "kN", 0x03210000},
    {1902, 1e6, 0, "MN", 0x06210000},
    {1903, kFreeFall, 0, "kp", 0x00ED0001},
    {1904, kFreeFall, 0, "kgf", 0},
    {1905, kPoundForce, 0, "lb", 0},
    {1906, 1e9, 0, "GN", 0x09210000},
    // pressure
    {2000, 1, 0, "Pa", 0x00220000},
    {2001, 1e5, 0, "bar", 0x05220000},
    {2002, 1e2, 0, "mbar", 0},
    {2003, 1e8, 0, "kbar", 0x08220000},
    {2004, 1, 0, "pas", 0}, // pascal
    {2005, 1e2, 0, "hPa", 0x02220000},
    {2006, 1e3, 0, "kPa", 0x03220000},
    {2007, 6894.757293, 0, "psi", 0x00AB0000},
    {2008, 1e6, 0, "N/mm²", 0},
    {2009, 1, 0, "N/m²", 0},
    {2010, 1e4, 0, "N/cm²", 0x04220000},
    {2011, 1e6, 0, "MPa", 0x06220000},
    {2012, 1e9, 0, "GPa", 0x09220000},
    {2013, 133.322368421083, 0, "torr", 0},
    {2014, kMercury, 0, "mmHg", 0},
    {2015, kAtmosphere, 0, "atm", 0},
    // torque and energy; the base unit stands second
    {2101, 1, 0, "Nm", 0x00560000},
    {2100, 1, 0, "J", 0x00230000},
    {2102, 1e3, 0, "kNm", 0x03560000},
    {2103, 1e6, 0, "MNm", 0x06560000},
    {2104, kPoundForce* kFoot, 0, "lbf-ft", 0},
    {2105, kPoundForce* kInch, 0, "lbf-in", 0},
    {2106, 1e9, 0, "GNm", 0x09560000},
    {2107, 1, 0, "Nm/radian", 0x00561000},
    {2108, kPoundForce / 16 * kInch, 0, "oz-in", 0},
    {2109, kPoundForce* kFoot, 0, "ftlb", 0},
    {2110, kPoundForce* kInch, 0, "inlb", 0},
    // strain
    {2300, 1, 0, "m/m", 0},
    {2301, 1e-6, 0, "µm/m", 0xFA010100},
    {2302, 1, 0, "strain", 0x00010100},
    {2303, 1e-3, 0, "mm/m", 0xFD010100},
    // velocity
    {2400, 1, 0, "m/s", 0x00010300},
    {2401, 1e3 / kHour, 0, "km/h", 0},
    {2402, 5280 * kFoot / kHour, 0, "mph", 0},
    {2403, kFoot, 0, "fps", 0},
    {2404, 1 / kHour, 0, "m/h", 0},
    {2405, 1e-2, 0, "cm/s", 0xFE010300},
    {2406, 1e-3, 0, "mm/s", 0xFD010300},
    // acceleration
    {2500, 1, 0, "m/s²", 0},
    {2501, kFreeFall, 0, "ga", 0},
    {2502, 1e-3, 0, "mm/s²", 0},
    {2503, 1e-2, 0, "cm/s²", 0},
    // density
    {2700, 1, 0, "kg/m³", 0},
    {2701, 1, 0, "g/l", 0},
    // flow
    {2800, 1, 0, "m³/s", 0},
    {2801, kLitre / kMinute, 0, "l/min", 0},
    {2802, 1 / kHour, 0, "m³/h", 0},
    {2803, kGallon / kMinute, 0, "gpm", 0},
    {2804, kFoot* kFoot* kFoot / kMinute, 0, "cfm", 0},
    {2805, kLitre / kHour, 0, "l/h", 0},
    {2806, kLitre, 0, "l/s", 0},
    // ratio
    {2900, 1e-2, 0, "%", 0xFE000000},
    {2901, 1e-3, 0, "%o", 0xFD000000},
    {2902, 1e-6, 0, "ppm", 0xFA000000},
    // temperature coefficient
    {3000, 1e-2, 0, "%/°C", 0xFE002D00},
    {3001, 1e-3, 0, "%o/°C", 0xFD002D00},
    {3002, 1e-6, 0, "ppm/°C", 0xFA002D00},
    // pulses
    {3100, 1, 0, "Imp", 0},
    {3101, 1e3, 0, "kImp", 0},
    // miscellaneous
    {5001, 1e-2, 0, "%/decade", 0},
    {5002, 1e-3, 0, "dB", 0},
    {5003, 1, 0, "l/l", 0},
    {5004, 1, 0, "m³/m³", 0},
    {5005, 1, 0, "m³", 0},
    {5006, 1e-6, 0, "mm²", 0},
    {5007, 1, 0, "kg/s", 0x00020300},
    {5008, 1 / kLitre, 0, "mole/l", 0},
    {5009, 1, 0, "mole/m³", 0},
    {5010, 1, 0, "N/m", 0x00210100},
    {5011, 1e-2, 0, "RH", 0}, // relative humidity, in percent
    {5012, 1, 0, "V/(m/s²)", 0},
    {5013, 1, 0, "V/C", 0x00262500},
    {5014, 1, 0, "V/N", 0x00262100},
    {5015, 1, 0, "V/Pa", 0x00262200},
    {5016, 1, 0, "W/°C", 0x00242D00},
    {5017, 1e-3, 0, "dBm", 0}, // its reference is a milliwatt
    {5018, 0.05, 0, "dBV", 0},
    {100000, 1, 0, "UserDefined", 0},
};

/// Units of one quantity share a hundred; among the miscellaneous ones the two volume fractions and
/// the two concentrations belong together.
constexpr std::uint32_t quantityOf(const Unit& unit) noexcept
{
    constexpr std::uint32_t kMiscellaneous = 50;
    if (unit.code / 100 != kMiscellaneous)
        return unit.code / 100;
    return unit.code == 5004 || unit.code == 5009 ? unit.code - 1 : unit.code;
}

} // namespace detail

/// All units.
constexpr std::span<const Unit> units() noexcept
{
    return detail::kUnits;
}

/// The unit of a code; null where there is none.
constexpr const Unit* unitOf(std::uint32_t code) noexcept
{
    for (const Unit& unit : detail::kUnits)
        if (unit.code == code)
            return &unit;
    return nullptr;
}

/// The unit of this name, upper and lower case as they are (ZEL_XUTIL_GetUnitCodeFromName); null
/// where there is none.
inline const Unit* unitNamed(const std::string& name)
{
    const std::int32_t code = ZEL_XUTIL_GetUnitCodeFromName(name.c_str());
    return code < ZEL_OK ? nullptr : unitOf(static_cast<std::uint32_t>(code));
}

/// The value in another unit of the same quantity; nothing for units of different quantities. "No
/// value" (see noValue) is a number here: test before.
constexpr std::optional<double> convert(double value, const Unit& from, const Unit& to) noexcept
{
    if (detail::quantityOf(from) != detail::quantityOf(to))
        return std::nullopt;
    if (from.factor == to.factor && from.offset == to.offset)
        return value;
    return (value * from.factor - from.offset + to.offset) / to.factor;
}

} // namespace zel

#endif
