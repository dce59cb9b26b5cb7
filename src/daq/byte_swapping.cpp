#include "byte_swapping.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#define ZEL_HAS_SHUFFLE 1
#include <immintrin.h>
#endif

namespace zel::daq {

namespace {

void swapOne4(const std::byte* from, std::byte* to)
{
    std::uint32_t value;
    std::memcpy(&value, from, sizeof value);
    value = __builtin_bswap32(value);
    std::memcpy(to, &value, sizeof value);
}

void swapOne8(const std::byte* from, std::byte* to)
{
    std::uint64_t value;
    std::memcpy(&value, from, sizeof value);
    value = __builtin_bswap64(value);
    std::memcpy(to, &value, sizeof value);
}

#ifdef ZEL_HAS_SHUFFLE

bool hasAvx2()
{
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
}

bool hasSsse3()
{
    static const bool has = __builtin_cpu_supports("ssse3") != 0;
    return has;
}

/// Shuffles blocks of 32 bytes, each half by the same pattern; returns how many bytes it did.
__attribute__((target("avx2"))) std::size_t shuffle32(const std::byte* from, std::byte* to,
                                                      std::size_t size, const char* pattern)
{
    const __m128i half = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern));
    const __m256i order = _mm256_broadcastsi128_si256(half);
    const auto load = [&](std::size_t at) __attribute__((target("avx2")))
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + at));
    };
    const auto store = [&](std::size_t at, __m256i bytes) __attribute__((target("avx2")))
    {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + at), _mm256_shuffle_epi8(bytes, order));
    };
    std::size_t done = 0;
    for (; done + 128 <= size; done += 128) {
        const __m256i a = load(done);
        const __m256i b = load(done + 32);
        const __m256i c = load(done + 64);
        const __m256i d = load(done + 96);
        store(done, a);
        store(done + 32, b);
        store(done + 64, c);
        store(done + 96, d);
    }
    for (; done + 32 <= size; done += 32)
        store(done, load(done));
    return done;
}

/// Elements of 12 bytes; reads 16 each time, so that the last one is left to others.
__attribute__((target("ssse3"))) std::size_t shuffle12(const std::byte* from, std::byte* to,
                                                       std::size_t size)
{
    const __m128i order = _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 11, 10, 9, 8, -1, -1, -1, -1);
    std::size_t done = 0;
    for (; done + 16 <= size; done += 12) {
        const __m128i bytes =
            _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done)), order);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to + done), bytes);
        const int last = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 8));
        std::memcpy(to + done + 8, &last, sizeof last);
    }
    return done;
}

constexpr char kOrder4[] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};
constexpr char kOrder8[] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};

#endif

} // namespace

void swap4(const std::byte* from, std::byte* to, std::size_t elements)
{
    const std::size_t size = elements * 4;
    std::size_t done = 0;
#ifdef ZEL_HAS_SHUFFLE
    if (hasAvx2())
        done = shuffle32(from, to, size, kOrder4);
#endif
    for (; done < size; done += 4)
        swapOne4(from + done, to + done);
}

void swap8(const std::byte* from, std::byte* to, std::size_t elements)
{
    const std::size_t size = elements * 8;
    std::size_t done = 0;
#ifdef ZEL_HAS_SHUFFLE
    if (hasAvx2())
        done = shuffle32(from, to, size, kOrder8);
#endif
    for (; done < size; done += 8)
        swapOne8(from + done, to + done);
}

void swap8And4(const std::byte* from, std::byte* to, std::size_t elements)
{
    const std::size_t size = elements * 12;
    std::size_t done = 0;
#ifdef ZEL_HAS_SHUFFLE
    if (hasSsse3())
        done = shuffle12(from, to, size);
#endif
    for (; done < size; done += 12) {
        swapOne8(from + done, to + done);
        swapOne4(from + done + 8, to + done + 8);
    }
}

} // namespace zel::daq
