#include "dsp/surround/pair_balance.h"

#include <algorithm>
#include <cmath>

#include "base/math/exponential.h"

namespace quorvel {
namespace {

constexpr float kLeastPower = 1e-6f;
constexpr float kLeastCentre = 0.7f;   // of the steering's y
constexpr float kMostAside = 0.34f;    // of its x: 3 dB
constexpr float kDbOfSide = 8.69f;     // by which left is louder, of a source at x, near the centre
constexpr float kDbPerSecond = 0.35f;  // when it is a dB or more
constexpr float kRestDb = 1e-4f;       // smaller differences end

// 10^(db/20) = e^(db · ln 10/20)
constexpr float kNepersPerDb = 0.115129255f;

bool HasCentre(const BandSteering& band) {
    return band.Power() > kLeastPower && band.y > kLeastCentre && std::fabs(band.x) < kMostAside;
}

}  // namespace

void PairBalance::Follow(const BandSteering& middle, float rangeDb, bool isOn,
                         float seconds) QUORVEL_REAL_TIME {
    const bool followsCentre = isOn && HasCentre(middle);
    const float excess = followsCentre ? kDbOfSide * middle.x : isOn ? 0.0f : difference;
    if (excess == 0.0f) return;
    const float step = std::clamp(excess, -1.0f, 1.0f) * kDbPerSecond * seconds;
    difference = std::clamp(difference - step, -rangeDb, rangeDb);
    if (!isOn && std::fabs(difference) < kRestDb) difference = 0.0f;
    leftGain = static_cast<float>(math::Exp(double{difference * (kNepersPerDb / 2.0f)}));
    rightGain = 1.0f / leftGain;
}

}  // namespace quorvel
