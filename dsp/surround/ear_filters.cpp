#include "dsp/surround/ear_filters.h"

#include <algorithm>
#include <numbers>

#include "base/math/power.h"
#include "base/math/trigonometry.h"

namespace quorvel {
namespace {

void SetShelf(EarFilters::Shelf& shelf, int lane, const EarCurve& curve, double sampleRate) {
    const double f = std::min(curve.shelfFrequency, double{HighestFrequency(sampleRate)});
    const double k = math::Tan(std::numbers::pi * f / sampleRate);
    const double g = math::Pow(10.0, curve.shelfDb / 40.0);
    shelf.c0[lane] = static_cast<float>((k + g) / (k + 1.0 / g));
    shelf.c1[lane] = static_cast<float>((k - g) / (k + 1.0 / g));
    shelf.c2[lane] = static_cast<float>((k - 1.0 / g) / (k + 1.0 / g));
}

TypedFilterBand PeakingBand(const PeakCurve& curve) {
    return {{static_cast<float>(curve.frequency), static_cast<float>(curve.q), BandwidthMode::Q,
             static_cast<float>(curve.gainDb)},
            FilterType::PeakingEQ};
}

}  // namespace

void SetEarFilter(EarFilters& filters, int lane, const EarCurve& curve, double sampleRate) {
    SetShelf(filters.shelf, lane, curve, sampleRate);
    for (int i = 0; i < 2; ++i)
        SetSection(filters.peaks[i], lane, PeakingBand(curve.peaks[i]), sampleRate);
}

void DropFadedStates(EarFilters& filters) {
    DropFadedStates(filters.shelf.s);
    for (SectionLanes& peak : filters.peaks)
        DropFadedStates(peak);
}

}  // namespace quorvel
