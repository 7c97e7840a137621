#include "dsp/surround/steering.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/math/exponential.h"
#include "dsp/surround/faded.h"

namespace quorvel {
namespace {

struct BandTimes {
    double averageMs;
    double slowMs;
    double constantHz;  // 0: none
};
constexpr BandTimes kBandTimes[kBandCount] = {
    {16.0, 160.0, 25.0}, {6.0, 80.0, 0.0}, {6.0, 80.0, 0.0}};
constexpr double kFastShare = 0.8;  // of the averaging time
constexpr double kCalmingMs = 30.0;

constexpr float kLeastPower = 1e-10f;  // -100 dB: quieter sound is ambience
constexpr float kHeldPower = 1e-9f;    // below, the direction stays

// By how much the power grows in a tick when a sound begins: from where on it counts, and where it
// counts fully. Found by trial on shots, clicks and words over ambience.
constexpr float kLeastRise = 1.5f;
constexpr float kWholeRise = 3.0f;

constexpr float kFadedPower = 1e-30f;

// The share by which a one-pole average of `ms` moves in a step of `seconds`.
float Share(double ms, double seconds) {
    return static_cast<float>(-math::Expm1(-seconds * 1000.0 / ms));
}

}  // namespace

SteeringRates MakeSteeringRates(int32_t band, double sampleRate, int32_t tickFrames, bool isBrisk) {
    const BandTimes& times = kBandTimes[band];
    const double frame = 1.0 / sampleRate, tick = tickFrames / sampleRate;
    SteeringRates rates;
    rates.average = Share(times.averageMs, frame);
    rates.constant =
        static_cast<float>(-math::Expm1(-2.0 * std::numbers::pi * times.constantHz * frame));
    rates.slow = Share(isBrisk ? times.slowMs / 2.0 : times.slowMs, tick);
    rates.fast = Share(kFastShare * times.averageMs, tick);
    rates.calming = 1.0f - Share(kCalmingMs, tick);
    return rates;
}

void BandSteering::Listen(const SteeringRates& rates, const BandFrame* frames,
                          int32_t count) QUORVEL_REAL_TIME {
    FourLanes average = ReadFour<4>(covariance), constant = ReadFour<4>(offset);
    for (int32_t f = 0; f < count; ++f) {
        FourLanes pair = ReadFour<2>(frames[f]);
        constant += rates.constant * (pair - constant);
        pair -= constant;
        const FourLanes products = __builtin_shufflevector(pair, pair, 0, 1, 0, 2) *
                                   __builtin_shufflevector(pair, pair, 0, 1, 1, 2);
        average += rates.average * (products - average);
    }
    WriteFour<4>(average, covariance);
    WriteFour<4>(constant, offset);
}

void BandSteering::Follow(const SteeringRates& rates) QUORVEL_REAL_TIME {
    for (float& value : covariance)
        value = std::fabs(value) < kFadedPower ? 0.0f : value;
    for (float& value : offset)
        value = WithoutFaded(value);
    const float power = Power() + kLeastPower;
    const float toX = (covariance[0] - covariance[1]) / power, toY = 2.0f * covariance[2] / power;
    const float wayX = toX - x, wayY = toY - y;
    const float jump = SmoothStep(std::sqrt(wayX * wayX + wayY * wayY), 0.35f, 0.80f);
    const float sure = SmoothStep(std::sqrt(toX * toX + toY * toY), 0.80f, 1.0f);
    agility = WithoutFaded(std::max({jump, sure, agility * rates.calming}));
    const float onset = SmoothStep(power / (lastPower + kLeastPower), kLeastRise, kWholeRise);
    lastPower = Power();
    if (lastPower < kHeldPower) return;
    const float share = std::max(rates.slow + (rates.fast - rates.slow) * agility, onset);
    x = WithoutFaded(x + share * wayX);
    y = WithoutFaded(y + share * wayY);
}

float SmoothStep(float value, float from, float to) {
    const float z = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
    return z * z * (3.0f - 2.0f * z);
}

}  // namespace quorvel
