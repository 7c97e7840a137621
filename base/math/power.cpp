#include "base/math/power.h"

#include <cmath>
#include <limits>

#include "base/math/exponential_lanes.h"
#include "base/math/precise_logarithm.h"

namespace quorvel::math {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool IsWhole(double x) {
    constexpr double kAllWhole = 0x1p52;
    const double size = std::fabs(x);
    return size >= kAllWhole || (size + kAllWhole) - kAllWhole == size;
}

bool IsOdd(double x) {
    return IsWhole(x) && !IsWhole(x * 0.5);
}

// For base of 0 or above, not 1, and an exponent other than 0.
double PowerOf(double base, double exponent) {
    if (base == 0.0 || base == kInfinity)
        return (base == 0.0) == (exponent < 0.0) ? kInfinity : 0.0;
    if (std::isinf(exponent)) return (base > 1.0) == (exponent > 0.0) ? kInfinity : 0.0;
    const DoubleDouble log = PreciseLog(base);
    const double rough = log.high * exponent;
    if (rough > 710.0) return kInfinity;
    if (rough < -746.0) return 0.0;
    const DoubleDouble product = Product(log, {exponent, 0.0});
    const Exponential<double> e = Exponentiate(product.high, product.low);
    return Scaled(e.head + e.rest, e.power);
}

}  // namespace

// e^(exponent · log base); the logarithm carries the bits that the exponent lifts into sight.
double Pow(double base, double exponent) QUORVEL_REAL_TIME {
    if (exponent == 0.0 || base == 1.0) return 1.0;
    if (std::isnan(base) || std::isnan(exponent)) return base + exponent;
    const double size = std::fabs(base);
    if (base < 0.0 && size < kInfinity && !IsWhole(exponent))
        return std::numeric_limits<double>::quiet_NaN();
    const double power = size == 1.0 ? 1.0 : PowerOf(size, exponent);
    return std::signbit(base) && IsOdd(exponent) ? -power : power;
}

}  // namespace quorvel::math
