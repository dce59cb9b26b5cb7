// Number texts of responses; and every bit pattern of a double through the formatters and back.

#include "number_format.h"
#include "ZEL_VR_Framework.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

template <class Number>
void readAs(std::string_view text)
{
    constexpr Number kBefore = 77;
    Number value = kBefore;
    const std::int32_t result = zel::parseNumber(text, value);
    require(result == ZEL_OK || (result == ZEL_UTIL_STRING_CONVERSION && value == kBefore));
}

double readBack(const std::string& text)
{
    double value = 0;
    require(text.find(',') == std::string::npos);
    require(zel::parseNumber(text, value) == ZEL_OK);
    return value;
}

void checkFormats(double value, unsigned decimals)
{
    require(zel::formatParameterDouble(value).size() <= 14);
    if (!std::isfinite(value))
        return;
    const double magnitude = std::fabs(value);
    if (magnitude <= 2147483647.0) {
        const double error = std::fabs(readBack(zel::formatFixed(value, decimals)) - value);
        const double step = std::pow(10.0, -static_cast<double>(std::min(decimals, 9U)));
        require(error <= 0.5 * step + 1e-15 * magnitude + 1e-18);
    }
    if (std::isnormal(value) && magnitude < 1e307 && magnitude > 1e-300)
        require(std::fabs(readBack(zel::formatScientific(value, 6)) - value) <= 1e-6 * magnitude);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    readAs<std::uint32_t>(text);
    readAs<std::uint64_t>(text);
    readAs<std::int32_t>(text);
    readAs<std::int64_t>(text);
    readAs<double>(text);
    double value = 0;
    if (size > sizeof(value)) {
        std::memcpy(&value, data + 1, sizeof(value));
        checkFormats(value, data[0] % 12U);
    }
    if (zel::parseNumber(text, value) == ZEL_OK)
        checkFormats(value, static_cast<unsigned>(size % 12));
    return 0;
}
