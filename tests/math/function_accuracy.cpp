#include "tests/math/function_accuracy.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "base/math/arctangent.h"
#include "base/math/exponential.h"
#include "base/math/logarithm.h"
#include "base/math/power.h"
#include "base/math/trigonometry.h"
#include "tests/support/mixed_bits.h"

namespace quorvel::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <double (*function)(double)>
double OfOne(double x, double) {
    return function(x);
}

template <int (*function)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
int TruthOfOne(mpfr_t result, mpfr_t x, mpfr_t) {
    return function(result, x, MPFR_RNDN);
}

template <int (*function)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)>
int TruthOfTwo(mpfr_t result, mpfr_t x, mpfr_t y) {
    return function(result, x, y, MPFR_RNDN);
}

constexpr MathFunction kFunctions[] = {
    {"Exp", OfOne<math::Exp>, TruthOfOne<mpfr_exp>, -750.0, 715.0, 0x1.62e42fefa39efp-2, false},
    {"Expm1", OfOne<math::Expm1>, TruthOfOne<mpfr_expm1>, -45.0, 45.0, 0x1.62e42fefa39efp-2, false},
    {"Sinh", OfOne<math::Sinh>, TruthOfOne<mpfr_sinh>, -30.0, 30.0, 1.0, false},
    {"Log", OfOne<math::Log>, TruthOfOne<mpfr_log>, 0.0, 4.0, 0x1.6a09e667f3bcdp-1, false},
    {"Log10", OfOne<math::Log10>, TruthOfOne<mpfr_log10>, 0.0, 4.0, 1.0, false},
    {"Pow", math::Pow, TruthOfTwo<mpfr_pow>, -20.0, 20.0, 1.0, true},
    {"Sin", OfOne<math::Sin>, TruthOfOne<mpfr_sin>, -20.0, 20.0, 0x1.921fb54442d18p-1, false},
    {"Cos", OfOne<math::Cos>, TruthOfOne<mpfr_cos>, -20.0, 20.0, 0x1.921fb54442d18p-1, false},
    {"Tan", OfOne<math::Tan>, TruthOfOne<mpfr_tan>, -20.0, 20.0, 0x1.921fb54442d18p-1, false},
    {"Atan", OfOne<math::Atan>, TruthOfOne<mpfr_atan>, -4.0, 4.0, 0x1p-5, false},
    {"Atan2", math::Atan2, TruthOfTwo<mpfr_atan2>, -4.0, 4.0, 0x1p-5, true},
};

// Numbers of MPFR, kept for all calls of a thread: to make them costs more than to use them.
class Reference {
  public:
    explicit Reference(mpfr_prec_t bits) {
        mpfr_inits2(bits, result, rest, nullptr);
        mpfr_inits2(53, x, y, nullptr);
    }
    ~Reference() { mpfr_clears(result, rest, x, y, nullptr); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    double Truth(const MathFunction& function, double atX, double atY) {
        mpfr_set_d(x, atX, MPFR_RNDN);
        mpfr_set_d(y, atY, MPFR_RNDN);
        function.truth(result, x, y);
        return mpfr_get_d(result, MPFR_RNDN);
    }

    double Error(const MathFunction& function, double atX, double atY, double ours) {
        const double rounded = Truth(function, atX, atY);
        if (std::isnan(ours) || std::isnan(rounded))
            return std::isnan(ours) && std::isnan(rounded) ? 0.0 : kInfinity;
        if (std::isinf(ours) || std::isinf(rounded)) return ours == rounded ? 0.0 : kInfinity;
        if (mpfr_zero_p(result)) return ours == 0.0 ? 0.0 : kInfinity;
        mpfr_sub_d(rest, result, rounded, MPFR_RNDN);
        const auto exponent = std::max<mpfr_exp_t>(mpfr_get_exp(result) - 53, -1074);
        const double left = std::ldexp(ours - rounded, static_cast<int>(-exponent));
        mpfr_mul_2si(rest, rest, -exponent, MPFR_RNDN);
        return std::fabs(left - mpfr_get_d(rest, MPFR_RNDN));
    }

  private:
    mpfr_t result, rest, x, y;
};

double AnyNumber(MixedBits& bits) {
    return std::bit_cast<double>(bits.Next());
}

double Argument(const MathFunction& function, MixedBits& bits) {
    switch (bits.Below(8)) {
        case 0:
            return AnyNumber(bits);
        case 1: {  // moderate, of every magnitude
            const int exponent = static_cast<int>(bits.Below(80)) - 60;
            const double x = std::ldexp(1.0 + bits.Share(), exponent);
            return bits.Below(2) == 0 ? x : -x;
        }
        case 2: {
            const double multiple = (static_cast<double>(bits.Below(200)) - 100.0);
            const int exponent = -static_cast<int>(bits.Below(54));
            const double way = std::ldexp(bits.Share() - 0.5, exponent);
            return multiple * function.interesting + way * function.interesting;
        }
        default:
            return function.low + (function.high - function.low) * bits.Share();
    }
}

}  // namespace

std::span<const MathFunction> MathFunctions() {
    return kFunctions;
}

double Truth(const MathFunction& function, double x, double y) {
    return Reference(200).Truth(function, x, y);
}

double ErrorInUnits(const MathFunction& function, double x, double y) {
    constexpr double kDoubtful = 0.99;
    thread_local Reference quick(80), exact(200);
    const double ours = function.ours(x, y);
    const double error = quick.Error(function, x, y, ours);
    return error < kDoubtful ? error : exact.Error(function, x, y, ours);
}

LargestError FindLargestError(const MathFunction& function, uint64_t seed, int64_t count) {
    MixedBits bits(seed);
    LargestError largest;
    for (int64_t i = 0; i < count; ++i) {
        const double x = Argument(function, bits),
                     y = function.hasTwo ? Argument(function, bits) : 0.0;
        const double units = ErrorInUnits(function, x, y);
        if (units > largest.units) largest = {units, x, y};
    }
    return largest;
}

}  // namespace quorvel::test
