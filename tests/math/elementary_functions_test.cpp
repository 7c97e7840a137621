#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>

#include "base/math/exponential.h"
#include "base/math/logarithm.h"
#include "base/math/logarithm_lanes.h"
#include "base/math/power.h"
#include "tests/math/function_accuracy.h"
#include "tests/support/mixed_bits.h"
#include "tests/support/same_bits.h"
#include "tests/support/sha256.h"

namespace quorvel::math {
namespace {

using test::SameBits;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kSmallest = std::numeric_limits<double>::denorm_min();
constexpr double kHalfOfPi = 0x1.921fb54442d18p0;

// The full unit is promised; what is measured over 10^7 arguments is below 0.9.
TEST(ElementaryFunctions, AreWithinAUnitOfTheTruth) {
    for (const test::MathFunction& function : test::MathFunctions()) {
        const test::LargestError error = test::FindLargestError(function, 11, 20000);
        EXPECT_LT(error.units, 0.95) << function.name << " at " << error.x << ", " << error.y;
        EXPECT_GT(error.units, 0.3) << function.name << ": nothing was measured";
    }
}

constexpr double kBorders[] = {
    0.0, 1.0, kSmallest, kLargest, kInfinity, NAN, kHalfOfPi, 0.5, 1.5, 2.0, 3.0, 10.0, 22.0,
    1000.0, 1e22, 800.0, 1074.0, 1024.0, 1e-300, 1e300, 1e308, 0x1p53, 710.0,
    // Where the exponential, on both sides, and the hyperbolic sine leave the range.
    0x1.62e42fefa39efp9, 0x1.62e42fefa39f0p9, 0x1.74910d52d3051p9, 0x1.74910d52d3052p9,
    0x1.633ce8fb9f87ep9,
    // No double is nearer to a multiple of π/2, zero apart.
    0x1.6ac5b262ca1ffp849};

// Of both signs, and in all pairs. A result that a double holds exactly is off by nothing or by a
// whole unit. Only the power may be off where none does.
TEST(ElementaryFunctions, HaveTheirValuesAtTheBorders) {
    std::vector<double> borders;
    for (const double x : kBorders)
        borders.insert(borders.end(), {x, -x});
    for (const test::MathFunction& function : test::MathFunctions()) {
        for (const double x : borders) {
            for (const double y : borders) {
                const double truth = test::Truth(function, x, y), value = function.ours(x, y);
                const bool mayDiffer = function.ours == Pow && std::isnormal(truth);
                EXPECT_TRUE(mayDiffer || SameBits(value, truth))
                    << function.name << "(" << x << ", " << y << ") = " << value;
                EXPECT_LT(test::ErrorInUnits(function, x, y), 1.0)
                    << function.name << "(" << x << ", " << y << ")";
                if (!function.hasTwo) break;
            }
        }
    }
}

// Every magnitude, every special value: what a vector gives in a lane is what a double gives.
template <typename Number>
void CompareLanes() {
    constexpr int kLanes = sizeof(Number) / sizeof(double);
    test::MixedBits bits(5);
    for (int round = 0; round < 20000; ++round) {
        Number x;
        for (int lane = 0; lane < kLanes; ++lane) {
            constexpr double kSpecial[] = {0.0, -0.0, kInfinity, -kInfinity, NAN, kSmallest, 710.0};
            const uint64_t roll = bits.Below(40);
            x[lane] = roll < 7    ? kSpecial[roll]
                      : roll < 14 ? std::bit_cast<double>(bits.Next())
                                  : 1500.0 * (bits.Share() - 0.5);
        }
        const Number exp = ExpLanes(x), log = LogLanes(x);
        for (int lane = 0; lane < kLanes; ++lane) {
            ASSERT_TRUE(SameBits(exp[lane], Exp(x[lane]))) << "exp " << x[lane];
            ASSERT_TRUE(SameBits(log[lane], Log(x[lane]))) << "log " << x[lane];
        }
    }
}

TEST(ElementaryFunctions, VectorsHaveTheBitsOfDoubles) {
    CompareLanes<TwoNumbers>();
    CompareLanes<FourNumbers>();
}

// SHA-256 over results; the same for every compiler and processor.
const std::map<std::string, std::string> kDigests = {
    {"Exp", "9f49712b233ee37418eb914c585672256598bf5eb0a2d4836a8416cf5be4a953"},
    {"Expm1", "794d7cced9bc28918ba5ee7f7709d765dddeb0a993bd51a840ed24099d313295"},
    {"Sinh", "cd2a978640e2355c70f39759fbf1eb5acc6ba2f0136e7cd1f6422b9ef7353882"},
    {"Log", "a6293a36ea76a049f76e58fca8a423a2d57ffe21c55c2a8a178aa424cb59d574"},
    {"Log10", "0ddf84df626f45ad3a2015b5b2fe28dcc43d5203b3ce9b84fd094d417b0869a3"},
    {"Pow", "cbd5748971f3ea0120668f25f23007bd7c5adc581cd39cb7c412d8433b32a235"},
    {"Sin", "f797a1c59ffe5683ec14383e598e944f6944abf447ca03b38f8a53612e533527"},
    {"Cos", "a33892e41f53cb2aa0c12c2bc60455637d945a2c969cfb47398420fce8250dfc"},
    {"Tan", "72a012c14e846ac8eb2a7cfb7db79348f6b49e8fa262856c22de793ad1ed2e07"},
    {"Atan", "9b504988f10cdfd1d01db995f4fed42b0bec4a636e3e7080e80f75e91717cb04"},
    {"Atan2", "ca59aa6c172ea2e48eba3966f22bd649997d3cdc7afed2c91b0a6058d7de1781"},
};

TEST(ElementaryFunctions, HaveTheSameBitsEverywhere) {
    for (const test::MathFunction& function : test::MathFunctions()) {
        test::MixedBits bits(3);
        test::Sha256 digest;
        for (int i = 0; i < 20000; ++i) {
            const double way = bits.Share();
            const double x = i % 8 == 0 ? std::bit_cast<double>(bits.Next())
                                        : function.low + (function.high - function.low) * way;
            const double value = function.ours(x, bits.Share() * 8.0 - 4.0);
            digest.AddNumber(std::isnan(value) ? 0.0 : value);
        }
        EXPECT_EQ(digest.Finish(), kDigests.at(function.name)) << function.name;
    }
}

}  // namespace
}  // namespace quorvel::math
