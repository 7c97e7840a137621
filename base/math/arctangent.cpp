// With y not above x and c the nearest sixteenth to y/x
//
//     atan(y/x) = atan(c) + atan(t),   t = (y - c x) / (x + c y),   |t| at most 1/32
//
// and atan t = t - t³/3 + t⁵/5 - …; see Muller, "Elementary Functions", 3rd edition (2016), on
// tables beside series. Both terms are sums of two doubles.
#include "base/math/arctangent.h"

#include <cmath>
#include <limits>

#include "base/math/double_double.h"
#include "base/math/logarithm_lanes.h"

namespace quorvel::math {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr DoubleDouble kHalfOfPi = {0x1.921fb54442d18p0, 0x1.1a62633145c07p-54};
constexpr DoubleDouble kPi = {0x1.921fb54442d18p1, 0x1.1a62633145c07p-53};

// atan(i/16)
constexpr DoubleDouble kKnown[] = {{0x0.0p0, 0x0.0p0},
                                   {0x1.ff55bb72cfdeap-5, -0x1.c934d86d23f1dp-60},
                                   {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
                                   {0x1.7b97b4bce5b02p-3, 0x1.347b0b4f881cap-58},
                                   {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
                                   {0x1.362773707ebccp-2, -0x1.963a544b672d8p-57},
                                   {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
                                   {0x1.a64eec3cc23fdp-2, -0x1.24dec1b50b7ffp-56},
                                   {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
                                   {0x1.0657e94db30d0p-1, -0x1.d5b495f6349e6p-56},
                                   {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
                                   {0x1.345f01cce37bbp-1, 0x1.1021137c71102p-55},
                                   {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
                                   {0x1.5d58987169b18p-1, 0x1.0028e4bc5e7cap-57},
                                   {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
                                   {0x1.819d0b7158a4dp-1, -0x1.bf76229d3b917p-56},
                                   {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55}};

DoubleDouble Negative(DoubleDouble x) {
    return {-x.high, -x.low};
}

DoubleDouble Series(DoubleDouble t) {
    const double z = t.high * t.high;
    const double sum =
        -1.0 / 3.0 +
        z * (1.0 / 5.0 + z * (-1.0 / 7.0 + z * (1.0 / 9.0 + z * (-1.0 / 11.0 + z * (1.0 / 13.0)))));
    return FastTwoSum(t.high, t.low + z * t.high * sum);
}

// atan(y/x) for finite 0 <= y <= x, x above 0.
DoubleDouble Eighth(double y, double x) {
    constexpr double kLinearUpTo = 0x1p-30;
    const double slope = y / x;
    if (slope <= kLinearUpTo) return {slope, 0.0};
    // y is within 2^30 of x, so both come to lie between 2^-31 and 1 without loss
    const Magnitude<double> of = MagnitudeOf(x);
    x = (1.0 + of.f) * 0.5;
    y = Scaled(y, -1.0 - of.power);
    const double sixteenths = (slope * 16.0 + kToWhole) - kToWhole;
    const double c = sixteenths * 0.0625;
    const DoubleDouble above = Sum({y, 0.0}, Negative(TwoProduct(c, x)));
    const DoubleDouble below = Sum({x, 0.0}, TwoProduct(c, y));
    return Sum(kKnown[static_cast<int>(sixteenths)], Series(Quotient(above, below)));
}

// The angle of a point with coordinates of 0 or above, NaN excluded.
DoubleDouble Quarter(double y, double x) {
    if (y == x) return y == 0.0 ? DoubleDouble{} : kKnown[16];
    if (y == kInfinity || x == kInfinity) return y == kInfinity ? kHalfOfPi : DoubleDouble{};
    return y < x ? Eighth(y, x) : Sum(kHalfOfPi, Negative(Eighth(x, y)));
}

}  // namespace

double Atan(double x) QUORVEL_REAL_TIME {
    return Atan2(x, 1.0);
}

double Atan2(double y, double x) QUORVEL_REAL_TIME {
    if (std::isnan(y) || std::isnan(x)) return y + x;
    const DoubleDouble angle = Quarter(std::fabs(y), std::fabs(x));
    const double size = std::signbit(x) ? Sum(kPi, Negative(angle)).high : angle.high;
    return std::copysign(size, y);
}

}  // namespace quorvel::math
