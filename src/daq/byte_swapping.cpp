#include "byte_swapping.h"

#include "process_wide.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#define ZEL_HAS_VECTORS 1
#if defined(__GNUC__) && !defined(__clang__)
// The compiler's own header makes "undefined" vectors from uninitialised variables.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#endif

namespace zel::daq {

namespace {

std::uint32_t swapped(std::uint32_t value)
{
    return __builtin_bswap32(value);
}

std::uint64_t swapped(std::uint64_t value)
{
    return __builtin_bswap64(value);
}

template <class Word>
void swapOne(const std::byte* from, std::byte* to)
{
    Word value;
    std::memcpy(&value, from, sizeof value);
    value = swapped(value);
    std::memcpy(to, &value, sizeof value);
}

/// How many bytes lie before the first cache line of the destination: stores that cross lines cost
/// half the speed. 0 where no whole number ends there, and where there is too little to gain.
std::size_t bytesToLine(const std::byte* to, std::size_t size, std::size_t wordSize)
{
    constexpr std::size_t kLine = 64;
    constexpr std::size_t kWorthIt = 512;
    const std::size_t bytes = (kLine - reinterpret_cast<std::uintptr_t>(to) % kLine) % kLine;
    return size < kWorthIt || bytes % wordSize != 0 ? 0 : bytes;
}

#ifdef ZEL_HAS_VECTORS

#define ZEL_AVX2 __attribute__((target("avx2")))
#define ZEL_AVX512 __attribute__((target("avx512f,avx512bw")))

/// Where each byte of a vector comes from, within its 16 bytes.
struct alignas(64) Order {
    explicit constexpr Order(unsigned wordSize)
    {
        for (unsigned i = 0; i < 64; ++i)
            bytes[i] =
                static_cast<char>((i % 16) / wordSize * wordSize + wordSize - 1 - i % wordSize);
    }
    char bytes[64] = {};
};
constexpr Order kOrder4{4};
constexpr Order kOrder8{8};

ZEL_AVX2 __m256i order32(const Order& order)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(order.bytes));
}

ZEL_AVX512 __m512i order64(const Order& order)
{
    return _mm512_load_si512(order.bytes);
}

ZEL_AVX2 __m256i load32(const std::byte* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

ZEL_AVX2 void store32(std::byte* to, __m256i bytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
}

// The functions below return how many bytes they did; the rest is left to others.

ZEL_AVX2 std::size_t shuffleBy32(const std::byte* from, std::byte* to, std::size_t size,
                                 const Order& wanted)
{
    const __m256i order = order32(wanted);
    std::size_t done = 0;
    for (; size - done >= 64; done += 64) {
        const __m256i first = load32(from + done);
        const __m256i second = load32(from + done + 32);
        store32(to + done, _mm256_shuffle_epi8(first, order));
        store32(to + done + 32, _mm256_shuffle_epi8(second, order));
    }
    return done;
}

ZEL_AVX512 std::size_t shuffleBy64(const std::byte* from, std::byte* to, std::size_t size,
                                   const Order& wanted)
{
    const __m512i order = order64(wanted);
    std::size_t done = 0;
    for (; size - done >= 256; done += 256) {
        const __m512i first = _mm512_loadu_si512(from + done);
        const __m512i second = _mm512_loadu_si512(from + done + 64);
        const __m512i third = _mm512_loadu_si512(from + done + 128);
        const __m512i fourth = _mm512_loadu_si512(from + done + 192);
        _mm512_storeu_si512(to + done, _mm512_shuffle_epi8(first, order));
        _mm512_storeu_si512(to + done + 64, _mm512_shuffle_epi8(second, order));
        _mm512_storeu_si512(to + done + 128, _mm512_shuffle_epi8(third, order));
        _mm512_storeu_si512(to + done + 192, _mm512_shuffle_epi8(fourth, order));
    }
    for (; size - done >= 64; done += 64)
        _mm512_storeu_si512(to + done, _mm512_shuffle_epi8(_mm512_loadu_si512(from + done), order));
    return done;
}

// Elements of 12 bytes: the first two words change places, and each word is reversed. What is
// stored beyond the last whole element is overwritten by the next store. The next load comes first,
// so that source and destination may be the same.

ZEL_AVX2 std::size_t shuffle12By24(const std::byte* from, std::byte* to, std::size_t size)
{
    const __m256i words = _mm256_setr_epi32(1, 0, 2, 4, 3, 5, 6, 7);
    const __m256i order = order32(kOrder4);
    std::size_t done = 0;
    if (size < 64)
        return done;
    __m256i bytes = load32(from);
    for (; size - done >= 64; done += 24) {
        const __m256i next = load32(from + done + 24);
        store32(to + done, _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(bytes, words), order));
        bytes = next;
    }
    // The bytes that the last store spoilt in place.
    std::byte last[32];
    store32(last, _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(bytes, words), order));
    std::memcpy(to + done, last, 24);
    return done + 24;
}

constexpr __mmask16 kAll = 0xFFFF;

ZEL_AVX512 std::size_t shuffle12By60(const std::byte* from, std::byte* to, std::size_t size)
{
    const __m512i words = _mm512_setr_epi32(1, 0, 2, 4, 3, 5, 7, 6, 8, 10, 9, 11, 13, 12, 14, 15);
    const __m512i order = order64(kOrder4);
    std::size_t done = 0;
    if (size < 128)
        return done;
    __m512i bytes = _mm512_loadu_si512(from);
    for (; size - done >= 128; done += 60) {
        const __m512i next = _mm512_loadu_si512(from + done + 60);
        _mm512_storeu_si512(
            to + done,
            _mm512_shuffle_epi8(_mm512_maskz_permutexvar_epi32(kAll, words, bytes), order));
        bytes = next;
    }
    constexpr __mmask16 kWhole = 0x7FFF; // 15 words of 4 bytes
    _mm512_mask_storeu_epi32(
        to + done, kWhole,
        _mm512_shuffle_epi8(_mm512_maskz_permutexvar_epi32(kAll, words, bytes), order));
    return done + 60;
}

#endif

std::size_t shuffle([[maybe_unused]] const std::byte* from, [[maybe_unused]] std::byte* to,
                    [[maybe_unused]] std::size_t size, [[maybe_unused]] bool inEights,
                    [[maybe_unused]] Vectors vectors)
{
#ifdef ZEL_HAS_VECTORS
    const Order& order = inEights ? kOrder8 : kOrder4;
    if (vectors == Vectors::avx512)
        return shuffleBy64(from, to, size, order);
    if (vectors == Vectors::avx2)
        return shuffleBy32(from, to, size, order);
#endif
    return 0;
}

std::size_t shuffle12([[maybe_unused]] const std::byte* from, [[maybe_unused]] std::byte* to,
                      [[maybe_unused]] std::size_t size, [[maybe_unused]] Vectors vectors)
{
#ifdef ZEL_HAS_VECTORS
    if (vectors == Vectors::avx512)
        return shuffle12By60(from, to, size);
    if (vectors == Vectors::avx2)
        return shuffle12By24(from, to, size);
#endif
    return 0;
}

template <class Word>
void swapWords(const std::byte* from, std::byte* to, std::size_t elements, Vectors vectors)
{
    constexpr std::size_t kSize = sizeof(Word);
    const std::size_t size = elements * kSize;
    std::size_t done = 0;
    for (const std::size_t ahead = bytesToLine(to, size, kSize); done < ahead; done += kSize)
        swapOne<Word>(from + done, to + done);
    done += shuffle(from + done, to + done, size - done, kSize == 8, vectors);
    for (; done < size; done += kSize)
        swapOne<Word>(from + done, to + done);
}

} // namespace

Vectors bestVectors()
{
#ifdef ZEL_HAS_VECTORS
    static constinit ProcessWide<Vectors, InChild::kept> best;
    return best.get([] {
        if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw"))
            return Vectors::avx512;
        return __builtin_cpu_supports("avx2") ? Vectors::avx2 : Vectors::none;
    });
#else
    return Vectors::none;
#endif
}

void swap4(const std::byte* from, std::byte* to, std::size_t elements, Vectors vectors)
{
    swapWords<std::uint32_t>(from, to, elements, vectors);
}

void swap8(const std::byte* from, std::byte* to, std::size_t elements, Vectors vectors)
{
    swapWords<std::uint64_t>(from, to, elements, vectors);
}

void swap8And4(const std::byte* from, std::byte* to, std::size_t elements, Vectors vectors)
{
    const std::size_t size = elements * 12;
    for (std::size_t done = shuffle12(from, to, size, vectors); done < size; done += 12) {
        swapOne<std::uint64_t>(from + done, to + done);
        swapOne<std::uint32_t>(from + done + 8, to + done + 8);
    }
}

} // namespace zel::daq
