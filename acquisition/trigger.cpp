#include "trigger.h"

#include "ZEL_VR_Framework.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace zel::acquisition {

namespace {

using Kind = TriggerCondition::Kind;

struct Form {
    std::string_view word;
    Kind kind;
    int numbers;
};
constexpr std::array<Form, 6> kForms{{{">", Kind::above, 1},
                                      {"<", Kind::below, 1},
                                      {"rising", Kind::rising, 1},
                                      {"falling", Kind::falling, 1},
                                      {"inside", Kind::inside, 2},
                                      {"outside", Kind::outside, 2}}};

[[noreturn]] void refuse(const std::string& text, const std::string& why)
{
    throw std::invalid_argument("'" + text + "' is no trigger: " + why);
}

double numberOf(const std::string& word, const std::string& text)
{
    double number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc{} || stop != end || !std::isfinite(number))
        refuse(text, "'" + word + "' is no number");
    return number;
}

template <class T>
double valueOf(const Batch& batch, const Chunk& chunk, std::size_t sample)
{
    const T value = batch.valuesOf<T>(chunk)[sample];
    return isNoValue(value) ? std::nan("") : static_cast<double>(value);
}

double valueOf(const Batch& batch, const Chunk& chunk, std::size_t sample, ValueType type)
{
    switch (type) {
    case ValueType::int32:
        return valueOf<std::int32_t>(batch, chunk, sample);
    case ValueType::uint32:
        return valueOf<std::uint32_t>(batch, chunk, sample);
    case ValueType::float32:
        return valueOf<float>(batch, chunk, sample);
    case ValueType::int64:
        return valueOf<std::int64_t>(batch, chunk, sample);
    case ValueType::uint64:
        return valueOf<std::uint64_t>(batch, chunk, sample);
    default:
        return valueOf<double>(batch, chunk, sample);
    }
}

std::string shortest(double number)
{
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

} // namespace

TriggerCondition TriggerCondition::parse(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    // ">5" too
    if (!words.empty() && words[0].size() > 1 && (words[0][0] == '>' || words[0][0] == '<')) {
        words.insert(words.begin() + 1, words[0].substr(1));
        words[0].resize(1);
    }
    for (const Form& form : kForms) {
        if (words.empty() || words[0] != form.word)
            continue;
        if (words.size() != 1U + static_cast<std::size_t>(form.numbers))
            refuse(text, "'" + words[0] + "' takes " +
                             (form.numbers == 1 ? "one number" : "two numbers"));
        TriggerCondition condition{form.kind, numberOf(words[1], text), 0};
        if (form.numbers == 2) {
            condition.high = numberOf(words[2], text);
            if (condition.high <= condition.low)
                refuse(text, "the second number has to be above the first");
        }
        return condition;
    }
    refuse(text, "it begins with >, <, rising, falling, inside or outside");
}

std::string TriggerCondition::text() const
{
    for (const Form& form : kForms)
        if (form.kind == kind)
            return std::string{form.word} + ' ' + shortest(low) +
                   (form.numbers == 2 ? ' ' + shortest(high) : "");
    return {};
}

bool Trigger::holds(double value)
{
    const std::optional<double> before = m_before;
    if (std::isnan(value)) {
        m_before.reset();
        return false;
    }
    m_before = value;
    const double low = m_condition.low;
    const double high = m_condition.high;
    const auto isInside = [&](double number) { return number >= low && number <= high; };
    switch (m_condition.kind) {
    case Kind::above:
        return value > low;
    case Kind::below:
        return value < low;
    case Kind::rising:
        return before && *before <= low && value > low;
    case Kind::falling:
        return before && *before >= low && value < low;
    case Kind::inside:
        return before && !isInside(*before) && isInside(value);
    default:
        return before && isInside(*before) && !isInside(value);
    }
}

std::optional<std::uint64_t> Trigger::find(const Batch& batch, std::uint64_t from)
{
    std::optional<std::uint64_t> found;
    std::uint64_t next = 0; // index behind the chunk before
    for (const Chunk& chunk : batch.chunks) {
        if (chunk.signal != m_signal)
            continue;
        if (next != 0 && chunk.index != next)
            m_before.reset();
        next = chunk.index + chunk.count;
        for (std::size_t i = 0; i < chunk.count; ++i) {
            const bool isMet = holds(valueOf(batch, chunk, i, m_type));
            if (!isMet || found)
                continue;
            const std::uint64_t time = batch.timeOf(chunk, i);
            if (time >= from)
                found = time;
        }
    }
    return found;
}

} // namespace zel::acquisition
