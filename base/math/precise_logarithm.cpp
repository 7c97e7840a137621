#include "base/math/precise_logarithm.h"

#include "base/math/logarithm_lanes.h"

namespace quorvel::math {
namespace {

// artanh(s) = s (1 + s²/3 + s⁴/5 + …); with |s| at most 0.172 the first term left out is below
// 2^-70.
constexpr int kTerms = 14;

DoubleDouble OneOver(int odd) {
    return Quotient({1.0, 0.0}, {static_cast<double>(odd), 0.0});
}

}  // namespace

DoubleDouble PreciseLog(double x) {
    const Magnitude<double> m = MagnitudeOf(x);
    const DoubleDouble s = Quotient({m.f, 0.0}, TwoSum(2.0, m.f));
    const DoubleDouble z = Product(s, s);
    DoubleDouble series = OneOver(2 * kTerms - 1);
    for (int n = kTerms - 1; n >= 1; --n)
        series = Sum(Product(series, z), OneOver(2 * n - 1));
    const DoubleDouble fraction = Product({2.0 * s.high, 2.0 * s.low}, series);
    const DoubleDouble whole = FastTwoSum(m.power * kLn2High, m.power * kLn2Low);
    return Sum(whole, fraction);
}

}  // namespace quorvel::math
