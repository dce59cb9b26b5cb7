#include "own_descriptors.h"

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include <pthread.h>
#include <unistd.h>

namespace zel::sys {

namespace {

// One bit for each, without a lock, which another thread of the parent could hold at the fork.
constexpr std::size_t kMost = 1 << 20;
constexpr std::size_t kWord = 64;
std::array<std::atomic<std::uint64_t>, kMost / kWord> g_own;
std::atomic<std::size_t> g_wordsUsed{0};

std::uint64_t bitOf(std::size_t number)
{
    return std::uint64_t{1} << number % kWord;
}

void closeCopies()
{
    const std::size_t words = g_wordsUsed.load();
    for (std::size_t word = 0; word < words; ++word)
        for (std::uint64_t left = g_own[word].exchange(0); left != 0; left &= left - 1)
            ::close(static_cast<int>(word * kWord) + std::countr_zero(left));
}

[[gnu::constructor]] void closeInChildren()
{
    pthread_atfork(nullptr, nullptr, closeCopies);
}

} // namespace

int closedInChild(int descriptor)
{
    const auto number = static_cast<std::size_t>(descriptor);
    if (descriptor < 0 || number >= kMost)
        return descriptor;
    g_own[number / kWord].fetch_or(bitOf(number));
    const std::size_t needed = number / kWord + 1;
    for (std::size_t used = g_wordsUsed.load();
         used < needed && !g_wordsUsed.compare_exchange_weak(used, needed);) {
    }
    return descriptor;
}

void closeOwn(int descriptor)
{
    const auto number = static_cast<std::size_t>(descriptor);
    if (descriptor < 0)
        return;
    // First of all: once it is closed, the number may be that of a file of the host's.
    if (number < kMost)
        g_own[number / kWord].fetch_and(~bitOf(number));
    ::close(descriptor);
}

} // namespace zel::sys
