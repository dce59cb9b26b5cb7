#include "process_generation.h"

#include <atomic>

#include <pthread.h>

namespace zel {

namespace {

std::atomic<std::uint32_t> g_generation{1};

// The library takes its handler back when it is unloaded: the C library sees to that.
[[gnu::constructor]] void noticeForks()
{
    pthread_atfork(nullptr, nullptr, [] { g_generation.fetch_add(1, std::memory_order_relaxed); });
}

} // namespace

std::uint32_t processGeneration()
{
    return g_generation.load(std::memory_order_relaxed);
}

} // namespace zel
