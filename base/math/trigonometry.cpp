// Within an eighth of a turn
//
//     sin r = r - r³/6 + r⁵ S(r²),   cos r = 1 - r²/2 + r⁴ C(r²)
//
// where S and C are polynomials with the smallest largest errors (2^-61 of the sine, 2^-73 of the
// cosine), found with Remez' exchange algorithm. The terms before them are sums of two doubles: the
// tangent has to bear the errors of both. The rest that the reduction leaves below r enters by the
// first derivative.
#include "base/math/trigonometry.h"

#include <cmath>
#include <limits>

#include "base/math/quarter_turns.h"

namespace quorvel::math {
namespace {

double SineRest(double z) {
    const double z2 = z * z;
    const double a = 0x1.111111111110cp-7 + z * -0x1.a01a01a018c71p-13;
    const double b = 0x1.71de3a5344886p-19 + z * -0x1.ae6452930c4a8p-26;
    const double c = 0x1.61208639dfb46p-33 + z * -0x1.aa9bb7bd6a44cp-41;
    return a + z2 * (b + z2 * c);
}

double CosineRest(double z) {
    const double z2 = z * z;
    const double a = 0x1.5555555555555p-5 + z * -0x1.6c16c16c16c15p-10;
    const double b = 0x1.a01a01a01975cp-16 + z * -0x1.27e4fb76947f2p-22;
    const double c = 0x1.1eed8d40eb581p-29 + z * -0x1.9393dcb579e80p-37;
    return a + z2 * (b + z2 * (c + z2 * 0x1.ab09f34e19c66p-45));
}

DoubleDouble SineOf(DoubleDouble r) {
    constexpr DoubleDouble kMinusSixth = {-0x1.5555555555555p-3, -0x1.5555555555555p-57};
    const DoubleDouble z = TwoProduct(r.high, r.high);
    const DoubleDouble cubic = Product(Product(z, {r.high, 0.0}), kMinusSixth);
    const DoubleDouble top = FastTwoSum(r.high, cubic.high);
    const double small = z.high * z.high * r.high * SineRest(z.high) + r.low * (1.0 - 0.5 * z.high);
    return FastTwoSum(top.high, top.low + (cubic.low + small));
}

DoubleDouble CosineOf(DoubleDouble r) {
    const DoubleDouble z = TwoProduct(r.high, r.high);
    const DoubleDouble top = FastTwoSum(1.0, -0.5 * z.high);
    const double small = z.high * z.high * CosineRest(z.high) - (0.5 * z.low + r.high * r.low);
    return FastTwoSum(top.high, top.low + small);
}

// The sine of `turns` and some quarter turns more.
DoubleDouble SineAfter(const QuarterTurns& turns, int more) {
    const int count = (turns.count + more) & 3;
    const DoubleDouble value = (count & 1) == 0 ? SineOf(turns.rest) : CosineOf(turns.rest);
    return count < 2 ? value : DoubleDouble{-value.high, -value.low};
}

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

}  // namespace

double Sin(double x) QUORVEL_REAL_TIME {
    if (!std::isfinite(x)) return kNone;
    const double size = SineAfter(TakeQuarterTurns(std::fabs(x)), 0).high;
    return std::signbit(x) ? -size : size;
}

double Cos(double x) QUORVEL_REAL_TIME {
    if (!std::isfinite(x)) return kNone;
    return SineAfter(TakeQuarterTurns(std::fabs(x)), 1).high;
}

double Tan(double x) QUORVEL_REAL_TIME {
    constexpr double kLinearUpTo = 0x1p-28;
    if (!std::isfinite(x)) return kNone;
    if (std::fabs(x) <= kLinearUpTo) return x;
    const QuarterTurns turns = TakeQuarterTurns(std::fabs(x));
    const double size = Quotient(SineAfter(turns, 0), SineAfter(turns, 1)).high;
    return std::signbit(x) ? -size : size;
}

}  // namespace quorvel::math
