// The natural logarithm, lane by lane. The rules of base/math/number_lanes.h on linkage hold.
//
//     x = 2^k · (1 + f),   1 + f from sqrt(1/2) to sqrt(2)
//     log x = k ln 2 + log(1 + f),   log(1 + f) = 2 artanh s,   s = f / (2 + f)
//
// 2 artanh s = 2 s + s R(s²), and 2 s = f - s f. Written with h = f²/2 as
//
//     log(1 + f) = f - (h - s (h + R))
//
// only small terms are rounded beside the exact f: Muller, "Elementary Functions", 3rd edition
// (Birkhäuser 2016), and Tang, ACM Trans. Math. Softw. 16 (1990). The sum k ln 2 + f keeps its
// rounding error.
#pragma once

#include "base/math/exponential_lanes.h"
#include "base/math/number_lanes.h"

namespace quorvel::math {
namespace {

// x = 2^power · (1 + f).
template <typename Number>
struct Magnitude {
    Number power;
    Number f;
};

// For finite x above 0, subnormal ones included.
template <typename Number>
__attribute__((always_inline)) inline Magnitude<Number> MagnitudeOf(Number x) {
    constexpr std::uint64_t kRootHalf = 0x3FE6A09E667F3BCD;  // bits of sqrt(1/2)
    constexpr std::uint64_t kOne = 0x3FF0000000000000;       // bits of 1.0
    constexpr std::uint64_t kFraction = 0x000FFFFFFFFFFFFF;
    constexpr std::uint64_t kBelowWhole = 0x4330000000000000;  // bits of 2^52
    const auto subnormal = x < All<Number>(0x1p-1022);
    x = subnormal ? x * 0x1p54 : x;
    const Number bias = subnormal ? All<Number>(0x1p52 + 1023 + 54) : All<Number>(0x1p52 + 1023);
    const Words<Number> bits = As<Words<Number>>(x) + (kOne - kRootHalf);
    return {As<Number>((bits >> 52) | kBelowWhole) - bias,
            As<Number>((bits & kFraction) + kRootHalf) - 1.0};
}

// R(z) = 2 artanh(s) / s - 2 with z = s²: z times the polynomial of degree 6 with the smallest
// largest error for 1 + f as above (2^-58 of the logarithm), found with Remez' exchange algorithm.
template <typename Number>
__attribute__((always_inline)) inline Number LogarithmRest(Number z) {
    const Number z2 = z * z;
    const Number a = z * 0x1.99999999847b5p-2 + 0x1.555555555557cp-1;
    const Number b = z * 0x1.c71c52bb3f3efp-3 + 0x1.2492493fb0e02p-2;
    const Number c = z * 0x1.399d154f235f8p-3 + 0x1.746648978100bp-3;
    return z * (a + (b + (c + z2 * 0x1.2f51c76fc9989p-3) * z2) * z2);
}

// The definition of Log (base/math/logarithm.h) for every lane.
template <typename Number>
__attribute__((always_inline)) inline Number LogLanes(Number x) {
    const Magnitude<Number> m = MagnitudeOf(x);
    const Number f = m.f;
    const Number half = f * f * 0.5;
    const Number s = f / (f + 2.0);
    const Number high = m.power * kLn2High;
    const Number sum = high + f;
    const Number lost = f - (sum - high);
    const Number small = (half - s * (half + LogarithmRest(s * s))) - m.power * kLn2Low;
    const Number result = sum + (lost - small);
    const Number zero{}, infinity = All<Number>(__builtin_inf());
    const Number edge = x == zero ? -infinity : All<Number>(__builtin_nan(""));
    const Number regular = x < infinity ? result : x;  // infinity and NaN stay what they are
    return x <= zero ? edge : regular;
}

}  // namespace
}  // namespace quorvel::math
