// Doubles that the processor treats as one vector, and one double under the same names, so that a
// formula is written once and gives the same bits for all of them.
//
// For base/math and for vector kernels. Everything has internal linkage and calls no library
// template: the same code compiled for a larger instruction set must not be merged with this one by
// the linker. Vectors wider than 16 bytes stay within files that may use AVX.
#pragma once

#include <cstdint>

namespace quorvel::math {
namespace {

typedef double TwoNumbers __attribute__((vector_size(16)));
typedef double FourNumbers __attribute__((vector_size(32)));

typedef std::uint64_t TwoWords __attribute__((vector_size(16)));
typedef std::uint64_t FourWords __attribute__((vector_size(32)));

// The unsigned integers as wide as a Number, lane by lane.
template <typename Number>
struct WordsOf;
template <>
struct WordsOf<double> {
    using Type = std::uint64_t;
};
template <>
struct WordsOf<TwoNumbers> {
    using Type = TwoWords;
};
template <>
struct WordsOf<FourNumbers> {
    using Type = FourWords;
};
template <typename Number>
using Words = typename WordsOf<Number>::Type;

// The same bits as another type.
template <typename To, typename From>
__attribute__((always_inline)) inline To As(From from) {
    return __builtin_bit_cast(To, from);
}

// `value` in every lane.
template <typename Number>
__attribute__((always_inline)) inline Number All(double value) {
    return Number{} + value;
}

// Added to a number below 2^51 and taken off again, it rounds to the nearest whole number, ties to
// even. While it is there, the lower bits of the sum are that number as an integer.
inline constexpr double kToWhole = 0x1.8p52;

// 2^power for whole powers from -1022 to 1023.
template <typename Number>
__attribute__((always_inline)) inline Number PowerOfTwo(Number power) {
    return As<Number>((As<Words<Number>>(power + kToWhole) + 1023) << 52);
}

}  // namespace
}  // namespace quorvel::math
