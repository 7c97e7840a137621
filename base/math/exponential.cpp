#include "base/math/exponential.h"

#include <cmath>

#include "base/math/double_double.h"
#include "base/math/exponential_lanes.h"

namespace quorvel::math {
namespace {

// Taylor's series of sinh, for |x| up to 1: x + x z/6 (1 + z/20 (1 + z/42 (1 + …))), z = x².
double SinhNearZero(double x) {
    constexpr int kTerms = 9;
    const double z = x * x;
    double sum = 1.0;
    for (int n = 2 * kTerms; n > 2; n -= 2)
        sum = 1.0 + z / (n * (n + 1)) * sum;
    return x + x * z / 6.0 * sum;
}

// Taylor's series of e^x - 1, for |x| up to 0.75: x + x²/2 + x³/6 (1 + x/4 (1 + x/5 (1 + …))). The
// square is not rounded.
double Expm1NearZero(double x) {
    constexpr int kTerms = 20;
    double sum = 1.0;
    for (int n = kTerms; n > 3; --n)
        sum = 1.0 + x / n * sum;
    const DoubleDouble square = TwoProduct(x, x);
    const DoubleDouble head = FastTwoSum(x, 0.5 * square.high);
    return head.high + (head.low + (0.5 * square.low + x * square.high / 6.0 * sum));
}

}  // namespace

double Exp(double x) QUORVEL_REAL_TIME {
    return ExpLanes(x);
}

double Expm1(double x) QUORVEL_REAL_TIME {
    constexpr double kOneVanishes = 40.0;  // e^40 is beyond 2^57
    if (std::fabs(x) < 0.75) return x == 0.0 ? x : Expm1NearZero(x);
    if (x > kOneVanishes) return Exp(x);
    if (x < -kOneVanishes) return -1.0;
    const Exponential<double> e = Exponentiate(x, 0.0);
    const double scale = PowerOfTwo(e.power);
    const DoubleDouble sum = TwoSum(e.head * scale, -1.0);
    return sum.high + (sum.low + e.rest * scale);
}

double Sinh(double x) QUORVEL_REAL_TIME {
    constexpr double kInfiniteFrom = 711.0;
    const double size = std::fabs(x);
    if (size < 1.0) return x == 0.0 ? x : SinhNearZero(x);
    const Exponential<double> e = Exponentiate(size > kInfiniteFrom ? kInfiniteFrom : size, 0.0);
    const DoubleDouble rising = FastTwoSum(e.head, e.rest);
    // e^-x in units of 2^power; from 2^-120 on nothing can be seen of it
    const double shift = PowerOfTwo(e.power > 60.0 ? -120.0 : -2.0 * e.power);
    const DoubleDouble falling = Quotient({shift, 0.0}, rising);
    const DoubleDouble twice = Sum(rising, {-falling.high, -falling.low});
    return std::copysign(Scaled(twice.high, e.power - 1.0), x);
}

}  // namespace quorvel::math
