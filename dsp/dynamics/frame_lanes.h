// Peaks and gains of four neighbouring frames. For vector kernels alone; the rules of
// base/math/number_lanes.h on linkage hold here too.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/math/number_lanes.h"

namespace quorvel::dynamics {
namespace {

typedef float FourFloats __attribute__((vector_size(16)));
typedef std::int32_t FourInts __attribute__((vector_size(16)));

constexpr int kUnit = 4;  // frames worked on together

// One number a frame of a unit.
template <typename Number>
struct Unit {
    static constexpr int kLanes = sizeof(Number) / sizeof(double);
    Number part[kUnit / kLanes];
};

inline FourFloats LoadFour(const float* from) {
    FourFloats four;
    std::memcpy(&four, from, sizeof four);
    return four;
}

inline void StoreFour(float* to, FourFloats four) {
    std::memcpy(to, &four, sizeof four);
}

inline FourFloats MagnitudeOfFour(FourFloats x) {
    return reinterpret_cast<FourFloats>(reinterpret_cast<FourInts>(x) & 0x7FFFFFFF);
}

// A NaN as `x` is larger than nothing.
inline FourFloats LargerOfFour(FourFloats x, FourFloats peak) {
    return x > peak ? x : peak;
}

// The largest |x| of the frame's samples 0, 4, 8, …, of 1, 5, 9, … and so on, from 0.0.
inline FourFloats ColumnPeaks(const float* frame, int32_t channels) {
    FourFloats peaks{};
    std::int32_t c = 0;
    for (; c + 4 <= channels; c += 4)
        peaks = LargerOfFour(MagnitudeOfFour(LoadFour(frame + c)), peaks);
    float rest = 0.0f;
    for (; c < channels; ++c) {
        const float magnitude = __builtin_fabsf(frame[c]);
        rest = magnitude > rest ? magnitude : rest;
    }
    return LargerOfFour(FourFloats{rest, 0.0f, 0.0f, 0.0f}, peaks);
}

// The largest |x| of each of four frames, from 0.0. `Channels` is the width where it is known when
// compiling, else 0.
template <int Channels>
inline FourFloats UnitPeaks(const float* in, int32_t channels) {
    if constexpr (Channels == 1) {
        return LargerOfFour(MagnitudeOfFour(LoadFour(in)), FourFloats{});
    } else if constexpr (Channels == 2) {
        const FourFloats a = MagnitudeOfFour(LoadFour(in)), b = MagnitudeOfFour(LoadFour(in + 4));
        const FourFloats left = __builtin_shufflevector(a, b, 0, 2, 4, 6);
        const FourFloats right = __builtin_shufflevector(a, b, 1, 3, 5, 7);
        return LargerOfFour(right, LargerOfFour(left, FourFloats{}));
    } else {
        const std::int64_t width = Channels > 0 ? Channels : channels;
        FourFloats frame[kUnit];
        for (int f = 0; f < kUnit; ++f) {
            if constexpr (Channels == 8) {
                const FourFloats first = MagnitudeOfFour(LoadFour(in + 8 * f));
                const FourFloats second = MagnitudeOfFour(LoadFour(in + 8 * f + 4));
                frame[f] = LargerOfFour(second, LargerOfFour(first, FourFloats{}));
            } else {
                frame[f] = ColumnPeaks(in + width * f, channels);
            }
        }
        const FourFloats low =
            LargerOfFour(__builtin_shufflevector(frame[0], frame[1], 0, 4, 1, 5),
                         __builtin_shufflevector(frame[0], frame[1], 2, 6, 3, 7));
        const FourFloats high =
            LargerOfFour(__builtin_shufflevector(frame[2], frame[3], 0, 4, 1, 5),
                         __builtin_shufflevector(frame[2], frame[3], 2, 6, 3, 7));
        return LargerOfFour(__builtin_shufflevector(low, high, 0, 1, 4, 5),
                            __builtin_shufflevector(low, high, 2, 3, 6, 7));
    }
}

template <typename Number>
inline Unit<Number> Widened(FourFloats four) {
    if constexpr (Unit<Number>::kLanes == 4) {
        return {{__builtin_convertvector(four, Number)}};
    } else {
        return {
            {Number{double{four[0]}, double{four[1]}}, Number{double{four[2]}, double{four[3]}}}};
    }
}

// Four samples times a gain each, in double precision, rounded.
template <typename Number>
inline void ScaleFour(const float* in, float* out, const Unit<Number>& gains) {
    if constexpr (Unit<Number>::kLanes == 4) {
        const Number product = __builtin_convertvector(LoadFour(in), Number) * gains.part[0];
        StoreFour(out, __builtin_convertvector(product, FourFloats));
    } else {
        const Unit<Number> samples = Widened<Number>(LoadFour(in));
        const Number low = samples.part[0] * gains.part[0], high = samples.part[1] * gains.part[1];
        StoreFour(out, FourFloats{static_cast<float>(low[0]), static_cast<float>(low[1]),
                                  static_cast<float>(high[0]), static_cast<float>(high[1])});
    }
}

// The gain of frame `first` for two samples, that of `second` for the next two.
template <int first, int second, typename Number>
inline Unit<Number> GainsOf(const Unit<Number>& gains) {
    if constexpr (Unit<Number>::kLanes == 4) {
        return {
            {__builtin_shufflevector(gains.part[0], gains.part[0], first, first, second, second)}};
    } else {
        const Number a = gains.part[first / 2], b = gains.part[second / 2];
        return {{__builtin_shufflevector(a, a, first % 2, first % 2),
                 __builtin_shufflevector(b, b, second % 2, second % 2)}};
    }
}

template <int frame, typename Number>
inline void ScaleOneFrame(const float* in, float* out, int32_t channels,
                          const Unit<Number>& gains) {
    const Unit<Number> gain = GainsOf<frame, frame>(gains);
    std::int32_t c = 0;
    for (; c + 4 <= channels; c += 4)
        ScaleFour(in + c, out + c, gain);
    for (; c < channels; ++c)
        out[c] = static_cast<float>(double{in[c]} * gain.part[0][0]);
}

// out = in · gain for four frames, a gain each.
template <int Channels, typename Number>
inline void ScaleUnit(const float* in, float* out, int32_t channels, const Unit<Number>& gains) {
    if constexpr (Channels == 1) {
        ScaleFour(in, out, gains);
    } else if constexpr (Channels == 2) {
        ScaleFour(in, out, GainsOf<0, 1>(gains));
        ScaleFour(in + 4, out + 4, GainsOf<2, 3>(gains));
    } else {
        const std::int32_t known = Channels > 0 ? Channels : channels;
        const std::int64_t width = known;
        ScaleOneFrame<0>(in, out, known, gains);
        ScaleOneFrame<1>(in + width, out + width, known, gains);
        ScaleOneFrame<2>(in + 2 * width, out + 2 * width, known, gains);
        ScaleOneFrame<3>(in + 3 * width, out + 3 * width, known, gains);
    }
}

}  // namespace
}  // namespace quorvel::dynamics
