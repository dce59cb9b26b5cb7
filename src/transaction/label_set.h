#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace zel {

/// Some of the 65536 transaction labels. The next one that is in it, or not, is found 64 at a time.
class LabelSet {
public:
    void add(std::uint16_t label) { word(label) |= bit(label); }
    void remove(std::uint16_t label) { word(label) &= ~bit(label); }

    /// The first label from `first` on that is in the set.
    std::optional<std::uint16_t> next(std::size_t first) const
    {
        return find(first, [](std::uint64_t word) { return word; });
    }
    /// The first label from `first` on, and round again, that is not in the set.
    std::optional<std::uint16_t> nextMissing(std::size_t first) const
    {
        const auto inverted = [](std::uint64_t word) { return ~word; };
        const auto found = find(first, inverted);
        return found ? found : find(0, inverted);
    }

private:
    static constexpr std::size_t kBits = 64;

    std::uint64_t& word(std::uint16_t label) { return m_words[label / kBits]; }
    static std::uint64_t bit(std::uint16_t label) { return std::uint64_t{1} << label % kBits; }

    template <class Wanted>
    std::optional<std::uint16_t> find(std::size_t first, Wanted wanted) const
    {
        std::uint64_t fromFirstOn = ~std::uint64_t{0} << first % kBits;
        for (std::size_t i = first / kBits; i < m_words.size(); ++i) {
            const std::uint64_t found = wanted(m_words[i]) & fromFirstOn;
            if (found != 0)
                return static_cast<std::uint16_t>(
                    i * kBits + static_cast<std::size_t>(std::countr_zero(found)));
            fromFirstOn = ~std::uint64_t{0};
        }
        return {};
    }

    std::array<std::uint64_t, 0x10000 / kBits> m_words{};
};

} // namespace zel
