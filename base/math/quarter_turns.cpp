// After Payne and Hanek, "Radian reduction for trigonometric functions", SIGNUM Newsletter 18
// (1983): x · 2/π in whole numbers. Of the digits of 2/π only a window is needed: those before it
// give whole turns, those after it less than 2^-138. No double is nearer than 2^-62 to a multiple
// of π/2 without being one, so 76 bits of the rest are good at worst.
#include "base/math/quarter_turns.h"

#include <cstddef>
#include <cstdint>

namespace quorvel::math {
namespace {

constexpr double kQuarterOfPi = 0x1.921fb54442d18p-1;
constexpr DoubleDouble kHalfOfPi = {0x1.921fb54442d18p0, 0x1.1a62633145c07p-54};

// The binary digits of 2/π behind the point.
constexpr std::uint32_t kTwoOverPi[] = {
    0xA2F9836E, 0x4E441529, 0xFC2757D1, 0xF534DDC0, 0xDB629599, 0x3C439041, 0xFE5163AB, 0xDEBBC561,
    0xB7246E3A, 0x424DD2E0, 0x06492EEA, 0x09D1921C, 0xFE1DEB1C, 0xB129A73E, 0xE88235F5, 0x2EBB4484,
    0xE99C7026, 0xB45F7E41, 0x3991D639, 0x835339F4, 0x9C845F8B, 0xBDF9283B, 0x1FF897FF, 0xDE05980F,
    0xEF2F118B, 0x5A0A6D1F, 0x6D367ECF, 0x27CB09B7, 0x4F463F66, 0x9E5FEA2D, 0x7527BAC7, 0xEBE5F17B,
    0x3D0739F7, 0x8A5292EA, 0x6BFB5FB1, 0x1F8D5D08, 0x56033046, 0xFC7B6BAB};

constexpr int kWindow = 7;           // words of 2/π
constexpr int kWords = kWindow + 2;  // of the product with 53 bits

// A whole number of nine words, the lowest first.
struct LongNumber {
    std::uint32_t words[kWords] = {};

    // 32 bits from bit `place` on; zeros below bit 0 and above the last.
    std::uint32_t BitsAt(int place) const {
        const auto word = [this](int i) {
            return i < 0 || i >= kWords ? 0 : std::uint64_t{words[i]};
        };
        const int index = place >= 0 ? place / 32 : -((31 - place) / 32);
        const int shift = place - 32 * index;
        return static_cast<std::uint32_t>((word(index) | word(index + 1) << 32) >> shift);
    }
};

// `mantissa` times the window of 2/π that starts with word `first`.
LongNumber TimesTwoOverPi(std::uint64_t mantissa, int first) {
    const std::uint32_t halves[] = {static_cast<std::uint32_t>(mantissa),
                                    static_cast<std::uint32_t>(mantissa >> 32)};
    LongNumber product;
    for (int h = 0; h < 2; ++h) {
        std::uint64_t carry = 0;
        for (int i = 0; i < kWindow; ++i) {
            std::uint32_t& word = product.words[h + i];
            carry += std::uint64_t{halves[h]} * kTwoOverPi[first + kWindow - 1 - i] + word;
            word = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        product.words[h + kWindow] = static_cast<std::uint32_t>(carry);
    }
    return product;
}

// The fraction whose binary digits end below bit `point`, from -1/2 to 1/2.
DoubleDouble NearestFraction(const LongNumber& number, int point) {
    constexpr int kDigits = 5;  // words of 32 bits
    const bool isAboveHalf = (number.BitsAt(point - 32) >> 31) != 0;
    const double sign = isAboveHalf ? -1.0 : 1.0;
    DoubleDouble fraction;
    double unit = 0x1p-32;
    for (int i = 1; i <= kDigits; ++i, unit *= 0x1p-32) {
        const std::uint32_t word = number.BitsAt(point - 32 * i);
        const std::uint32_t digits = isAboveHalf ? ~word : word;  // 1 - fraction, but for the end
        fraction = Sum(fraction, {static_cast<double>(digits) * unit, 0.0});
    }
    return {sign * fraction.high, sign * fraction.low};
}

}  // namespace

QuarterTurns TakeQuarterTurns(double x) {
    if (x <= kQuarterOfPi) return {0, {x, 0.0}};
    const auto bits = __builtin_bit_cast(std::uint64_t, x);
    const std::uint64_t mantissa = (bits & 0x000FFFFFFFFFFFFF) | 0x0010000000000000;
    const int exponent = static_cast<int>(bits >> 52) - 1075;  // of the mantissa's last bit
    const int first = exponent < 2 ? 0 : (exponent - 2) / 32;
    const LongNumber product = TimesTwoOverPi(mantissa, first);
    const int point = 32 * (first + kWindow) - exponent;  // the bit that is worth one quarter turn
    const DoubleDouble fraction = NearestFraction(product, point);
    const std::uint32_t turns = product.BitsAt(point) + (fraction.high < 0.0 ? 1 : 0);
    return {static_cast<int>(turns & 3), Product(fraction, kHalfOfPi)};
}

}  // namespace quorvel::math
