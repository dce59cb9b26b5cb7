#pragma once

/// For a loop that is handed to inWidestVectors, and for what it calls: only what is inlined is
/// compiled for each kind of vector. The loop captures by value: what it writes could otherwise
/// change what it reads, and then nothing is vectorised.
#define ZEL_IN_VECTORS __attribute__((always_inline))

namespace zel::simulator {

// Not on Windows: the compiler there keeps wide vectors on a stack that is not aligned for them.
#if defined(__x86_64__) && !defined(_WIN32)

template <class Loop>
__attribute__((target("avx512f,avx512bw,avx512dq,avx512vl"))) void inAvx512(Loop loop)
{
    loop();
}

template <class Loop>
__attribute__((target("avx2"))) void inAvx2(Loop loop)
{
    loop();
}

inline bool hasAvx512()
{
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
}

/// Runs a loop over many samples with the widest vectors that this processor has. The loop's source
/// file is compiled without fused multiplications, so that the results are the same with all.
template <class Loop>
void inWidestVectors(Loop loop)
{
    if (hasAvx512())
        inAvx512(loop);
    else if (__builtin_cpu_supports("avx2"))
        inAvx2(loop);
    else
        loop();
}

#else

template <class Loop>
void inWidestVectors(Loop loop)
{
    loop();
}

#endif

} // namespace zel::simulator
