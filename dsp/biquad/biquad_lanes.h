// Moving frames of a few channels between memory and vectors of four or eight floats.
//
// For the vector kernels alone. The compilers' generic vectors are used, so that the code is not
// bound to one processor. Everything has internal linkage and calls no library template: the same
// code compiled for a larger instruction set must not be merged with this one by the linker.
#pragma once

#include <cstdint>
#include <cstring>

namespace quorvel {
namespace {

typedef float FourLanes __attribute__((vector_size(16)));
typedef float EightLanes __attribute__((vector_size(32)));
typedef std::int64_t TwoPairs __attribute__((vector_size(16)));  // four lanes, two at a time

// `Count` floats from `in`, the lanes above them zero. Whole pairs go through one move each: lanes
// that are set one by one, or copied through the stack, cost more than the filter.
template <int Count>
FourLanes ReadFour(const float* in) {
    static_assert(Count >= 1 && Count <= 4);
    if constexpr (Count == 4) {
        FourLanes four;
        std::memcpy(&four, in, sizeof four);
        return four;
    } else if constexpr (Count == 3) {
        return __builtin_shufflevector(ReadFour<2>(in), ReadFour<1>(in + 2), 0, 1, 4, 5);
    } else if constexpr (Count == 2) {
        std::int64_t pair;
        std::memcpy(&pair, in, sizeof pair);
        return reinterpret_cast<FourLanes>(TwoPairs{pair, 0});
    } else {
        float one;
        std::memcpy(&one, in, sizeof one);
        return FourLanes{one, 0.0f, 0.0f, 0.0f};
    }
}

// The lower `Count` lanes to `out`.
template <int Count>
void WriteFour(FourLanes four, float* out) {
    static_assert(Count >= 1 && Count <= 4);
    if constexpr (Count == 4) {
        std::memcpy(out, &four, sizeof four);
    } else if constexpr (Count == 1) {
        out[0] = four[0];
    } else {
        const std::int64_t pair = reinterpret_cast<TwoPairs>(four)[0];
        std::memcpy(out, &pair, sizeof pair);
        if constexpr (Count == 3) out[2] = four[2];
    }
}

// A frame of `Channels` floats into the lower lanes of a vector, the lanes above them zero.
template <typename Vector, int Channels>
Vector ReadFrame(const float* in) {
    if constexpr (sizeof(Vector) == sizeof(FourLanes)) {
        return ReadFour<Channels>(in);
    } else if constexpr (Channels <= 4) {
        return __builtin_shufflevector(ReadFour<Channels>(in), FourLanes{}, 0, 1, 2, 3, 4, 5, 6, 7);
    } else {
        return __builtin_shufflevector(ReadFour<4>(in), ReadFour<Channels - 4>(in + 4), 0, 1, 2, 3,
                                       4, 5, 6, 7);
    }
}

// `Channels` lanes from lane `first` on to `out`. `first` is 0 where no second group of channels
// fits into the vector.
template <typename Vector, int Channels>
void WriteFrame(Vector lanes, int first, float* out) {
    constexpr bool kEight = sizeof(Vector) == sizeof(EightLanes);
    if constexpr (kEight && Channels > 4) {
        WriteFour<4>(__builtin_shufflevector(lanes, lanes, 0, 1, 2, 3), out);
        WriteFour<Channels - 4>(__builtin_shufflevector(lanes, lanes, 4, 5, 6, 7), out + 4);
    } else if constexpr (!kEight && Channels > 2) {
        WriteFour<Channels>(lanes, out);
    } else {
        const auto* group = reinterpret_cast<const float*>(&lanes) + first;
        WriteFour<Channels>(ReadFour<Channels>(group), out);
    }
}

}  // namespace
}  // namespace quorvel
