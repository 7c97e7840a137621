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

// The same eight or sixteen bytes as doubles. They are never calculated with: a processor moves
// eight bytes at a time only as one number.
using Doubles = double __attribute__((vector_size(16)));

// Two floats from each place: {low[0], low[1], high[0], high[1]}.
inline Quad LoadPairs(const float* low, const float* high) {
    double first = 0.0, second = 0.0;
    std::memcpy(&first, low, sizeof(first));
    std::memcpy(&second, high, sizeof(second));
    return reinterpret_cast<Quad>(Doubles{first, second});
}

// The first `kCount` lanes, 1 to 4, from or to memory; on loading, the other lanes are 0.0.
template <int kCount>
Quad LoadLanes(const float* from) {
    if constexpr (kCount == 4) return LoadQuad(from);
    if constexpr (kCount == 1) return Quad{from[0], 0.0f, 0.0f, 0.0f};
    double pair = 0.0;
    std::memcpy(&pair, from, sizeof(pair));
    Quad quad = reinterpret_cast<Quad>(Doubles{pair, 0.0});
    if constexpr (kCount == 3) quad[2] = from[2];
    return quad;
}

template <int kCount>
void StoreLanes(float* to, Quad quad) {
    if constexpr (kCount == 4) {
        StoreQuad(to, quad);
    } else if constexpr (kCount == 1) {
        to[0] = quad[0];
    } else {
        const double pair = reinterpret_cast<Doubles>(quad)[0];
        std::memcpy(to, &pair, sizeof(pair));
        if constexpr (kCount == 3) to[2] = quad[2];
    }
}

// {b, a, d, c} of {a, b, c, d}.
inline Quad SwapInPairs(Quad quad) {
    return __builtin_shufflevector(quad, quad, 1, 0, 3, 2);
}

}  // namespace quorvel
