// Sums of two doubles: about twice the digits.
//
// The algorithms are those of Dekker, "A floating-point technique for extending the available
// precision", Numer. Math. 18 (1971), and of Knuth (the exact sum), without fused multiplication,
// so that every processor gives the same bits. Products and quotients are good to some units of
// 2^-102 while no intermediate result leaves the range of doubles; operands are below 2^990.
#pragma once

namespace quorvel::math {

// high + low, where `low` is at most half a unit in the last place of `high`.
struct DoubleDouble {
    double high = 0.0;
    double low = 0.0;
};

// a + b, exactly; |a| is not below |b|, or a is 0.
inline DoubleDouble FastTwoSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

// a + b, exactly.
inline DoubleDouble TwoSum(double a, double b) {
    const double sum = a + b;
    const double ofB = sum - a;
    return {sum, (a - (sum - ofB)) + (b - ofB)};
}

// The upper 26 bits of x, and the rest.
inline DoubleDouble Halves(double x) {
    const double wide = x * 134217729.0;  // 2^27 + 1
    const double high = wide - (wide - x);
    return {high, x - high};
}

// a · b, exactly.
inline DoubleDouble TwoProduct(double a, double b) {
    const double product = a * b;
    const DoubleDouble x = Halves(a), y = Halves(b);
    const double rest = ((x.high * y.high - product) + x.high * y.low + x.low * y.high);
    return {product, rest + x.low * y.low};
}

inline DoubleDouble Sum(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble highs = TwoSum(a.high, b.high), lows = TwoSum(a.low, b.low);
    const DoubleDouble sum = FastTwoSum(highs.high, highs.low + lows.high);
    return FastTwoSum(sum.high, sum.low + lows.low);
}

inline DoubleDouble Product(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble highs = TwoProduct(a.high, b.high);
    return FastTwoSum(highs.high, highs.low + (a.high * b.low + a.low * b.high));
}

inline DoubleDouble Quotient(DoubleDouble a, DoubleDouble b) {
    const double first = a.high / b.high;
    const DoubleDouble taken = TwoProduct(first, b.high);
    const double left = ((a.high - taken.high) - taken.low) + (a.low - first * b.low);
    return FastTwoSum(first, left / b.high);
}

}  // namespace quorvel::math
