#include "plain_text.h"

#include "ZEL_VR_Framework.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace zel::acquisition {

namespace {

constexpr std::uint64_t kNanoseconds = 1'000'000'000;

// In the order of ValueType.
constexpr std::array<std::string_view, 6> kTypes{"Int32", "UInt32", "Float32",
                                                 "Int64", "UInt64", "Float64"};

constexpr auto kPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// How many bytes the UTF-8 character takes that the text begins with; 0 when it is none.
std::size_t lengthOfCharacter(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return 1;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (first < 0xC2 || first > 0xF4 || length > text.size())
        return 0;
    // What could be said with fewer bytes, halves of pairs, and what lies beyond all characters.
    const auto second = static_cast<unsigned char>(text[1]);
    const bool isOutside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    const auto rest = text.substr(1, length - 1);
    return std::all_of(rest.begin(), rest.end(), isContinuation) && !isOutside ? length : 0;
}

void addVisible(std::string& result, char byte, std::string_view prefix = "\\x")
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto number = static_cast<unsigned char>(byte);
    result += prefix;
    result += {kDigits[number >> 4U], kDigits[number & 15U]};
}

} // namespace

char* TextBuffer::room(std::size_t bytes)
{
    if (m_capacity - m_size < bytes) {
        m_capacity = std::max({m_capacity * 2, m_size + bytes, std::size_t{4096}});
        auto larger = std::make_unique_for_overwrite<char[]>(m_capacity);
        if (m_size > 0)
            std::memcpy(larger.get(), m_bytes.get(), m_size);
        m_bytes = std::move(larger);
    }
    return m_bytes.get() + m_size;
}

void TextBuffer::add(std::string_view text)
{
    if (!text.empty())
        std::memcpy(room(text.size()), text.data(), text.size());
    m_size += text.size();
}

void TextBuffer::drop(std::size_t bytes)
{
    m_size -= bytes;
    if (bytes > 0 && m_size > 0)
        std::memmove(m_bytes.get(), m_bytes.get() + bytes, m_size);
}

std::string printable(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        // U+0080 to U+009F, which some terminals obey like an escape sequence.
        const bool isHighControl = length == 2 && text.substr(0, 2) < "\xC2\xA0";
        const bool isControl = length == 1 && (text[0] < ' ' || text[0] == '\x7F');
        if (isHighControl)
            addVisible(result, text[1]);
        else if (length == 0 || isControl)
            addVisible(result, text[0]);
        else
            result += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

std::string quoted(std::string_view text)
{
    std::string field = "\"";
    for (const char c : text) {
        if (c == '"')
            field += '"';
        field += c;
    }
    return printable(field + '"');
}

std::string jsonText(std::string_view text)
{
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        const char c = text[0];
        if (length == 0) {
            result += '\\';
            addVisible(result, c);
        } else if (length == 1 && (c < ' ' || c == '\x7F')) {
            addVisible(result, c, "\\u00");
        } else {
            result += c == '"' || c == '\\' ? "\\" : "";
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result + '"';
}

std::string uuidText(std::uint64_t uuid)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%016llX", static_cast<unsigned long long>(uuid));
    return text;
}

std::string rateText(std::uint64_t millihertz)
{
    if (millihertz % 1000 == 0)
        return std::to_string(millihertz / 1000);
    char text[32];
    return {text,
            std::to_chars(std::begin(text), std::end(text), static_cast<double>(millihertz) / 1000)
                .ptr};
}

std::optional<std::uint64_t> rateOf(std::string_view hertz)
{
    double number = 0;
    const char* const end = hertz.data() + hertz.size();
    const auto [stop, error] = std::from_chars(hertz.data(), end, number);
    const bool isRate = error == std::errc{} && stop == end && std::isfinite(number);
    const std::uint64_t rate = isRate ? toMillihertz(number) : 0;
    return rate > 0 ? std::optional{rate} : std::nullopt;
}

std::string_view nameOf(ValueType type)
{
    return kTypes.at(static_cast<std::size_t>(type));
}

std::optional<ValueType> valueTypeNamed(std::string_view name)
{
    const auto found = std::ranges::find(kTypes, name);
    if (found == kTypes.end())
        return {};
    return static_cast<ValueType>(found - kTypes.begin());
}

char* putSeconds(char* place, std::uint64_t nanoseconds)
{
    place = std::to_chars(place, place + 20, nanoseconds / kNanoseconds).ptr;
    auto rest = static_cast<std::uint32_t>(nanoseconds % kNanoseconds);
    *place++ = '.';
    *place = static_cast<char>('0' + rest / 100'000'000);
    rest %= 100'000'000;
    const std::uint32_t upper = rest / 10'000;
    const std::uint32_t lower = rest % 10'000;
    std::memcpy(place + 1, &kPairs[upper / 100 * 2], 2);
    std::memcpy(place + 3, &kPairs[upper % 100 * 2], 2);
    std::memcpy(place + 5, &kPairs[lower / 100 * 2], 2);
    std::memcpy(place + 7, &kPairs[lower % 100 * 2], 2);
    return place + 9;
}

template <class T>
char* putValue(char* place, T value, std::string_view none)
{
    if (!isNoValue(value))
        return std::to_chars(place, place + kLongestNumber, value).ptr;
    std::memcpy(place, none.data(), none.size());
    return place + none.size();
}
template char* putValue(char*, std::int32_t, std::string_view);
template char* putValue(char*, std::uint32_t, std::string_view);
template char* putValue(char*, float, std::string_view);
template char* putValue(char*, std::int64_t, std::string_view);
template char* putValue(char*, std::uint64_t, std::string_view);
template char* putValue(char*, double, std::string_view);

} // namespace zel::acquisition
