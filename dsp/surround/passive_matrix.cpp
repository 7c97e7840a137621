#include "dsp/surround/passive_matrix.h"

#include <cmath>
#include <numbers>

#include "base/math/trigonometry.h"

namespace quorvel {
namespace {

constexpr double Radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

constexpr double kClassicCentre = 0.5;  // with half of s in the rear: -3 dB in every direction
constexpr double kCentre = 0.4;

// ψ of a rear pair and its weight w; weight 0: the pair is silent.
struct RearPair {
    double angle = 0.0;
    double weight = 0.0;
};
struct RearPairs {
    RearPair side{};
    RearPair back{};
};
constexpr RearPairs kClassicRear = {{}, {Radians(45.0), 1.0}};
constexpr RearPairs kBackOnlyRear = {{}, {0.48, 1.0}};
constexpr RearPairs kSurroundRear = {{Radians(20.0), 1.0}, {Radians(35.0), 1.0}};
constexpr RearPairs kWrappedRear = {{Radians(8.0), 1.3}, {Radians(35.0), 1.0}};

const RearPairs& RearOf(const DecoderOptions& options) {
    if (options.mode == DecoderMode::Classic) return kClassicRear;
    if (options.hasBackPairOnly) return kBackOnlyRear;
    return options.wraps ? kWrappedRear : kSurroundRear;
}

double CentreShare(const DecoderOptions& options) {
    if (options.mode == DecoderMode::Classic) return kClassicCentre;
    return kCentre * (1.0 - options.spread * options.spread);
}

// What a pair takes of the power of s (`sign` 1) or of m (`sign` -1), for q = 1.
double PowerTaken(const RearPair& pair, double sign) {
    return pair.weight * pair.weight * (1.0 + sign * math::Sin(2.0 * pair.angle));
}

double PowerTaken(const RearPairs& pairs, double sign) {
    return PowerTaken(pairs.side, sign) + PowerTaken(pairs.back, sign);
}

// Writes the two amplitudes of a pair from `place` on.
void PlacePair(const RearPair& pair, double q, PassiveMatrix& matrix, int place) {
    const auto own = static_cast<float>(pair.weight * q * math::Cos(pair.angle));
    const auto other = static_cast<float>(pair.weight * q * math::Sin(pair.angle));
    matrix.left.rear[place] = own;
    matrix.right.rear[place] = -other;
    matrix.left.rear[place + 1] = other;
    matrix.right.rear[place + 1] = -own;
}

}  // namespace

PassiveMatrix MakePassiveMatrix(const DecoderOptions& options) {
    const RearPairs& rear = RearOf(options);
    const double centre = CentreShare(options);
    const double qSquared = options.rearShare / PowerTaken(rear, 1.0);
    const double alpha = std::sqrt((1.0 - centre - qSquared * PowerTaken(rear, -1.0)) / 2.0);
    const double beta = std::sqrt((1.0 - options.rearShare) / 2.0);

    PassiveMatrix matrix;
    const auto own = static_cast<float>((alpha + beta) / std::numbers::sqrt2);
    const auto other = static_cast<float>((alpha - beta) / std::numbers::sqrt2);
    const auto middle = static_cast<float>(std::sqrt(centre / 2.0));
    matrix.left = {.front = {own, other, middle, 0.0f}};
    matrix.right = {.front = {other, own, middle, 0.0f}};
    PlacePair(rear.side, std::sqrt(qSquared), matrix, 0);
    PlacePair(rear.back, std::sqrt(qSquared), matrix, 2);
    if (options.keepsPanning) {
        matrix.left.rear[3] = -matrix.left.rear[3];
        matrix.right.rear[3] = -matrix.right.rear[3];
    }
    return matrix;
}

}  // namespace quorvel
