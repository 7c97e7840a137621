// What the processor can do beyond the baseline that the library is compiled for.
#pragma once

namespace quorvel::platform {

// Whether AVX instructions and their registers may be used: the processor has them and the system
// saves them. Always the same answer within one process; ask when choosing a kernel, not per
// sample.
inline bool ProcessorHasAvx() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("avx") != 0;
#else
    return false;
#endif
}

// The same for AVX2, which has AVX in it.
inline bool ProcessorHasAvx2() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

// The same for AVX2 together with fused multiplication and addition.
inline bool ProcessorHasFusedAdd() {
#if defined(__x86_64__) || defined(__i386__)
    return ProcessorHasAvx2() && __builtin_cpu_supports("fma") != 0;
#else
    return false;
#endif
}

}  // namespace quorvel::platform
