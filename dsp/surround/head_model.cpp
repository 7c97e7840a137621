#include "dsp/surround/head_model.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>

#include "base/math/power.h"
#include "base/math/trigonometry.h"

namespace quorvel {
namespace {

constexpr double kHeadRadius = 0.0875;   // m
constexpr double kSpeedOfSound = 343.0;  // m/s

// Takes off the delay that the filters themselves add between the ears at low frequencies.
constexpr double kLagScale = 0.94;

constexpr EarCurve kBehind = {560, -6.5, {{1100, 7.1, 1.1}, {4070, 3.5, 0.8}}};

// Azimuth, gain, near ear, far ear. Straight ahead is the reference; where its curves have no gain,
// their frequencies are those of the next direction, so that the way there leads straight up.
constexpr HeadDirection kDirections[] = {
    {0,
     std::numbers::sqrt2 / 2,
     {410, 0, {{2330, 0, 0.5}, {3100, 0, 1.8}}},
     {980, 0, {{1820, 0, 1.8}, {7200, 0, 1.8}}}},
    {30,
     0.591,
     {410, 3.4, {{2330, 3.9, 0.5}, {3100, -4.0, 1.8}}},
     {980, -6.2, {{1820, 1.6, 1.8}, {7200, -3.7, 1.8}}}},
    {90,
     0.409,
     {460, 7.5, {{1880, -3.9, 1.8}, {3640, -7.3, 1.4}}},
     {1050, -18.5, {{1210, 8.0, 0.8}, {4000, 4.2, 0.5}}}},
    {110,
     0.440,
     {450, 6.8, {{2020, -4.2, 1.8}, {3970, -8.0, 1.4}}},
     {2160, -17.1, {{1350, 3.7, 1.6}, {2020, -7.7, 1.8}}}},
    {150,
     0.540,
     {1050, -0.9, {{1020, 5.1, 1.2}, {6720, -5.7, 1.8}}},
     {550, -8.7, {{1740, 8.0, 0.8}, {2050, -5.5, 1.8}}}},
    {180, 0.580, kBehind, kBehind},
};

// At the ends of the way the result is exactly `from` or `to`.
double Linear(double from, double to, double way) {
    return way == 1.0 ? to : from + (to - from) * way;
}

double Geometric(double from, double to, double way) {
    if (way == 0.0 || way == 1.0) return way == 0.0 ? from : to;
    return from * math::Pow(to / from, way);
}

PeakCurve Between(const PeakCurve& from, const PeakCurve& to, double way) {
    return {Geometric(from.frequency, to.frequency, way), Linear(from.gainDb, to.gainDb, way),
            Geometric(from.q, to.q, way)};
}

EarCurve Between(const EarCurve& from, const EarCurve& to, double way) {
    return {Geometric(from.shelfFrequency, to.shelfFrequency, way),
            Linear(from.shelfDb, to.shelfDb, way),
            {Between(from.peaks[0], to.peaks[0], way), Between(from.peaks[1], to.peaks[1], way)}};
}

}  // namespace

double WrapAzimuth(double azimuth) {
    if (!std::isfinite(azimuth)) return 0.0;
    const double wrapped = std::remainder(azimuth, 360.0);
    return wrapped == -180.0 ? 180.0 : wrapped;
}

HeadDirection DirectionAt(double azimuth) {
    const double wanted = std::fabs(azimuth);
    const auto* to = std::find_if(std::begin(kDirections) + 1, std::end(kDirections) - 1,
                                  [&](const auto& known) { return wanted <= known.azimuth; });
    const HeadDirection& from = to[-1];
    const double way = (wanted - from.azimuth) / (to->azimuth - from.azimuth);
    return {wanted, Linear(from.gain, to->gain, way), Between(from.nearEar, to->nearEar, way),
            Between(from.farEar, to->farEar, way)};
}

double LevelDbAt(double azimuth) {
    constexpr double kStep = 30.0;
    constexpr double kLevelsDb[] = {0.0, 0.0, -1.9, -2.8, -3.5, -4.1, -3.7};
    const double steps = std::fabs(azimuth) / kStep;
    const auto from = std::min(static_cast<std::size_t>(steps), std::size(kLevelsDb) - 2);
    return Linear(kLevelsDb[from], kLevelsDb[from + 1], steps - static_cast<double>(from));
}

double FarEarLag(double azimuth, double sampleRate) {
    const double degrees = std::min(std::fabs(azimuth), 180.0 - std::fabs(azimuth));
    const double theta = degrees * (std::numbers::pi / 180.0);
    return kLagScale * (kHeadRadius / kSpeedOfSound) * (theta + math::Sin(theta)) * sampleRate;
}

}  // namespace quorvel
