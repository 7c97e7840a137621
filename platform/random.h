// The pseudo-random generator of the C library, fit for the real-time thread.
#pragma once

#include <cstdint>

#ifdef _WIN32
#include <cstdlib>
#endif

namespace quorvel::platform {

#ifdef _WIN32

inline int Rand() {
    return std::rand();
}

inline void SeedRand(std::uint32_t seed) {
    std::srand(seed);
}

#else

// Off Windows the C library's generator takes a lock, which would stall the real-time thread.
// This one keeps the contract of the Windows runtime: a state per thread that starts as if seeded
// with 1, and values of 15 bits from a linear congruential generator modulo 2^32.
extern thread_local constinit std::uint32_t randState;

// The next value, 0 to 32767. Any thread; no lock, no allocation.
inline int Rand() {
    randState = randState * 214013u + 2531011u;
    return static_cast<int>((randState >> 16) & 0x7FFF);
}

// Restarts the calling thread's sequence.
inline void SeedRand(std::uint32_t seed) {
    randState = seed;
}

#endif

}  // namespace quorvel::platform
