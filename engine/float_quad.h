// Four floats that the processor treats as one, in the vector extension of GCC and clang: SSE2
// instructions on x86, the plain operations one by one where there is nothing better. Lane by lane
// the arithmetic is that of float.
#pragma once

#include <cstring>

namespace quorvel {

using Quad = float __attribute__((vector_size(16)));

// Loads and stores need no alignment.
inline Quad LoadQuad(const float* from) {
    Quad quad;
    std::memcpy(&quad, from, sizeof(quad));
    return quad;
}

inline void StoreQuad(float* to, Quad quad) {
    std::memcpy(to, &quad, sizeof(quad));
}

// Two floats from each place: {low[0], low[1], high[0], high[1]}. They travel as doubles, which
// are never calculated with, because a processor moves eight bytes at a time only as one number.
inline Quad LoadPairs(const float* low, const float* high) {
    using Doubles = double __attribute__((vector_size(16)));
    double first = 0.0, second = 0.0;
    std::memcpy(&first, low, sizeof(first));
    std::memcpy(&second, high, sizeof(second));
    return reinterpret_cast<Quad>(Doubles{first, second});
}

// {b, a, d, c} of {a, b, c, d}.
inline Quad SwapInPairs(Quad quad) {
    return __builtin_shufflevector(quad, quad, 1, 0, 3, 2);
}

}  // namespace quorvel
