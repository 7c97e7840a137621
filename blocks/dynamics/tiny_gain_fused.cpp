// Compiled for AVX2 and fused multiplication on x86. Nothing but the function below may leave this
// file.
//
// in · unitsGain + 1.5 · 2^23, rounded once, has the product as a whole number of units in its
// lower bits, rounded just as the conversion to a subnormal float rounds. Nothing subnormal is
// touched by the arithmetic, for which many processors take a long way round.
#include "blocks/dynamics/tiny_gain.h"

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

// Loops over `kKnownUnit` samples unroll; 0: `anyUnit` of them.
template <int64_t kKnownUnit>
int64_t ScaleUnits(const float* in, float* out, int64_t count, int64_t anyUnit, float ceiling,
                   float unitsGain) {
    const int64_t unit = kKnownUnit > 0 ? kKnownUnit : anyUnit;
    constexpr auto kOffset = __builtin_bit_cast(int32_t, kToInteger);
    constexpr uint32_t kSign = 0x80000000;
    int64_t done = 0;
    for (; done + unit <= count && IsQuiet(in + done, unit, ceiling); done += unit) {
        const float* const from = in + done;
        float* const to = out + done;
#pragma GCC ivdep
        for (int64_t i = 0; i < unit; ++i) {
            const float sum = __builtin_fmaf(from[i], unitsGain, kToInteger);
            const int32_t units = __builtin_bit_cast(int32_t, sum) - kOffset;
            const auto magnitude = static_cast<uint32_t>(units < 0 ? -units : units);
            const uint32_t sign = __builtin_bit_cast(uint32_t, from[i]) & kSign;
            to[i] = __builtin_bit_cast(float, magnitude | sign);
        }
    }
    return done;
}

}  // namespace

int64_t ScaleTinyFused(const float* in, float* out, int64_t count, int64_t unit, float ceiling,
                       float unitsGain) QUORVEL_REAL_TIME {
    constexpr int64_t kUsual = 32;
    if (unit == kUsual) return ScaleUnits<kUsual>(in, out, count, unit, ceiling, unitsGain);
    return ScaleUnits<0>(in, out, count, unit, ceiling, unitsGain);
}

}  // namespace quorvel::dynamics
