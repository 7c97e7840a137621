// The exponential function, lane by lane. The rules of base/math/number_lanes.h on linkage hold.
//
//     e^x = 2^k · e^r,   k = x / ln 2 rounded,   r = x - k ln 2, at most ln 2 / 2 either way
//     e^r = 1 + r + r² q(r)
//
// ln 2 is taken off in two parts after Cody and Waite, "Software Manual for the Elementary
// Functions" (1980): k times the high part is exact, so is the difference. 1 + r is added with its
// rounding error kept (Dekker, Numer. Math. 18 (1971)). So nearly all of the error is that of the
// last addition.
#pragma once

#include "base/math/number_lanes.h"

namespace quorvel::math {
namespace {

inline constexpr double kLn2High = 0x1.62e42fefa38p-1;  // 42 bits of ln 2
inline constexpr double kLn2Low = 0x1.ef35793c76730p-45;
inline constexpr double kLog2OfE = 0x1.71547652b82fep0;

// q(r) = (e^r - 1 - r) / r²: the polynomial of degree 10 with the smallest largest error on
// ±ln 2 / 2 (2^-64 of e^r), found with Remez' exchange algorithm.
template <typename Number>
__attribute__((always_inline)) inline Number ExponentialRest(Number r) {
    const Number r2 = r * r;
    const Number r4 = r2 * r2;
    const Number a = (r * 0x1.555555555555bp-3 + 0x1p-1) +
                     (r * 0x1.111111110ec5dp-7 + 0x1.5555555555503p-5) * r2;
    const Number b = (r * 0x1.a01a01b37e322p-13 + 0x1.6c16c16c30491p-10) +
                     (r * 0x1.71ddf020d8102p-19 + 0x1.a01a01368e27ep-16) * r2;
    const Number c =
        (r * 0x1.af6be7d8b9335p-26 + 0x1.27e5b4490435bp-22) + r2 * 0x1.1e3d28fb4f644p-29;
    return a + (b + c * r4) * r4;
}

// e^x = (head + rest) · 2^power; `rest` is at most half a unit of the last place of `head`, or a
// little more.
template <typename Number>
struct Exponential {
    Number head;
    Number rest;
    Number power;
};

// e^(x + tail) for x from -746 to 711 and a tail that is small beside the last place of x.
template <typename Number>
__attribute__((always_inline)) inline Exponential<Number> Exponentiate(Number x, Number tail) {
    const Number power = (x * kLog2OfE + kToWhole) - kToWhole;
    const Number r = x - power * kLn2High;
    const Number low = power * kLn2Low - tail;
    const Number reduced = r - low;
    const Number head = r + 1.0;
    const Number lost = r - (head - 1.0);
    return {head, (reduced * reduced * ExponentialRest(reduced) - low) + lost, power};
}

// value · 2^power for whole powers from -1100 to 1100. In two steps, of which the first one is
// exact, so that results below the normal numbers are rounded once.
template <typename Number>
__attribute__((always_inline)) inline Number Scaled(Number value, Number power) {
    const Number half = (power * 0.5 + kToWhole) - kToWhole;
    return value * PowerOfTwo(half) * PowerOfTwo(power - half);
}

// The definition of Exp (base/math/exponential.h) for every lane.
template <typename Number>
__attribute__((always_inline)) inline Number ExpLanes(Number x) {
    constexpr double kInfiniteFrom = 710.0, kZeroUpTo = -746.0;
    const Number most = All<Number>(kInfiniteFrom), least = All<Number>(kZeroUpTo);
    x = x > most ? most : x;
    x = x < least ? least : x;
    const Exponential<Number> e = Exponentiate(x, Number{});
    return Scaled(e.head + e.rest, e.power);
}

}  // namespace
}  // namespace quorvel::math
