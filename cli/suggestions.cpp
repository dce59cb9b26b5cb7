#include "suggestions.h"

#include <algorithm>
#include <numeric>

namespace zel::cli {

namespace {

/// How many letters must be inserted, dropped or exchanged to turn one word into the other.
std::size_t distance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t exchanged = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({exchanged, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string closestTo(const std::string& word, const std::vector<std::string>& candidates)
{
    // A command line can hold anything: only words of a command's length are compared.
    constexpr std::size_t kLongestWord = 40;
    std::string closest;
    std::size_t best = std::max<std::size_t>(word.size() / 2, 1) + 1;
    for (const auto& candidate : candidates) {
        if (word.size() > kLongestWord)
            break;
        const bool isBeginning = word.size() >= 2 && candidate.starts_with(word);
        const std::size_t steps = isBeginning ? 1 : distance(word, candidate);
        if (steps < best) {
            best = steps;
            closest = candidate;
        }
    }
    return closest;
}

} // namespace zel::cli
