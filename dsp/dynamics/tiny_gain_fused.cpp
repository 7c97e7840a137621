// Compiled for AVX2 and fused multiplication on x86. Nothing but the function below may leave this
// file.
//
// in · unitsGain + 1.5 · 2^23, rounded once, has the product as a whole number of units in its
// lower bits, rounded just as the conversion to a subnormal float rounds. Nothing subnormal is
// touched by the arithmetic, for which many processors take a long way round.
#include "dsp/dynamics/tiny_gain.h"

namespace quorvel::dynamics {
namespace {

constexpr float kToInteger = 0x1.8p23f;

// Takes a NaN for loud.
inline bool IsQuiet(const float* in, int64_t count, float ceiling) {
    uint32_t loud = 0;
    for (int64_t i = 0; i < count; ++i)
        loud |= __builtin_fabsf(in[i]) <= ceiling ? 0u : 1u;
    return loud == 0;
}

constexpr int64_t kTile = 32;  // samples; every unit is a multiple of it

// Of a copy, so that the compiler sees that no result is read again.
inline void ScaleTile(const float* in, float* out, float unitsGain) {
    constexpr auto kOffset = __builtin_bit_cast(int32_t, kToInteger);
    constexpr uint32_t kSign = 0x80000000;
    float samples[kTile];
    __builtin_memcpy(samples, in, sizeof samples);
    for (int64_t i = 0; i < kTile; ++i) {
        const float sum = __builtin_fmaf(samples[i], unitsGain, kToInteger);
        const int32_t units = __builtin_bit_cast(int32_t, sum) - kOffset;
        const auto magnitude = static_cast<uint32_t>(units < 0 ? -units : units);
        const uint32_t sign = __builtin_bit_cast(uint32_t, samples[i]) & kSign;
        out[i] = __builtin_bit_cast(float, magnitude | sign);
    }
}

// Loops over `kKnownUnit` samples unroll; 0: `anyUnit` of them.
template <int64_t kKnownUnit>
int64_t ScaleUnits(const float* in, float* out, int64_t count, int64_t anyUnit, float ceiling,
                   float unitsGain) {
    const int64_t unit = kKnownUnit > 0 ? kKnownUnit : anyUnit;
    int64_t done = 0;
    for (; done + unit <= count && IsQuiet(in + done, unit, ceiling); done += unit) {
        for (int64_t t = done; t < done + unit; t += kTile)
            ScaleTile(in + t, out + t, unitsGain);
    }
    return done;
}

}  // namespace

int64_t ScaleTinyFused(const float* in, float* out, int64_t count, int64_t unit, float ceiling,
                       float unitsGain) QUORVEL_REAL_TIME {
    if (unit == kTile) return ScaleUnits<kTile>(in, out, count, unit, ceiling, unitsGain);
    return ScaleUnits<0>(in, out, count, unit, ceiling, unitsGain);
}

}  // namespace quorvel::dynamics
