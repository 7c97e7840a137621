#include "dsp/surround/quadrature_bands.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "base/math/arctangent.h"
#include "base/math/exponential.h"
#include "base/math/logarithm.h"
#include "base/math/power.h"
#include "base/math/trigonometry.h"
#include "dsp/surround/faded.h"

namespace quorvel {
namespace {

using std::numbers::pi;

constexpr double kLowestHz = 40.0;  // of the quarter turn
constexpr double kHighestHz = 16000.0;
constexpr double kHighestShare = 0.42;  // of the sample rate
constexpr double kUpperSplitHz = 3000.0;
constexpr double kLowerSplitHz = 450.0;

// H = (c + z⁻¹)/(1 + c z⁻¹), a lane each.
struct FirstOrder {
    FourLanes Pass(FourLanes x) {
        const FourLanes y = c * x + s;
        s = x - c * y;
        return y;
    }

    FourLanes c, s;
};

// H = (a2 + a1 z⁻¹ + z⁻²)/(1 + a1 z⁻¹ + a2 z⁻²).
struct SecondOrder {
    FourLanes Pass(FourLanes x) {
        const FourLanes y = a2 * x + s1;
        s1 = a1 * (x - y) + s2;
        s2 = x - a2 * y;
        return y;
    }

    FourLanes a1, a2, s1, s2;
};

// A copy of a split, for a loop over frames. Store gives the states back.
struct SplitRun {
    explicit SplitRun(const QuadratureBands::Split& split)
        : first{FourLanes{} + split.c, ReadFour<4>(split.firstState)},
          second{FourLanes{} + split.a1, FourLanes{} + split.a2, ReadFour<4>(split.secondStates[0]),
                 ReadFour<4>(split.secondStates[1])} {}

    void Store(QuadratureBands::Split& split) const {
        WriteFour<4>(first.s, split.firstState);
        WriteFour<4>(second.s1, split.secondStates[0]);
        WriteFour<4>(second.s2, split.secondStates[1]);
    }

    void Pass(FourLanes x, FourLanes& low, FourLanes& high) {
        const FourLanes a0 = first.Pass(x), a1 = second.Pass(x);
        low = (a0 + a1) * 0.5f;
        high = (a0 - a1) * 0.5f;
    }

    FirstOrder first;
    SecondOrder second;
};

void SetUpSplit(QuadratureBands::Split& split, double frequency, double sampleRate) {
    const double k = math::Tan(pi * frequency / sampleRate), d = 1.0 + k + k * k;
    split.c = static_cast<float>((k - 1.0) / (k + 1.0));
    split.a1 = static_cast<float>(2.0 * (k * k - 1.0) / d);
    split.a2 = static_cast<float>((1.0 - k + k * k) / d);
}

double Nome(double w1, double w2) {
    const double k = math::Pow(1.0 - math::Pow(w1 / w2, 2.0), 0.25);
    const double e = (1.0 - k) / (2.0 * (1.0 + k));
    return math::Exp(pi * pi / math::Log(e + 2.0 * math::Pow(e, 5.0)));
}

void SetUpChains(QuadratureBands& bands, double sampleRate) {
    const double w1 = math::Tan(pi * kLowestHz / sampleRate);
    const double w2 = math::Tan(pi * std::min(kHighestHz / sampleRate, kHighestShare));
    const double q = Nome(w1, w2), q2 = math::Pow(q, 2.0), q6 = math::Pow(q, 6.0);
    int sections[2] = {};
    for (int i = 0; i < 2 * QuadratureBands::kChainSections; ++i) {
        const double f = pi * (4 * i + 1) / 32.0;
        const double bend =
            math::Atan((q2 - q6) * math::Sin(4.0 * f) / (1.0 + (q2 + q6) * math::Cos(4.0 * f)));
        const double t = math::Tan(f - bend) * std::sqrt(w1 * w2);
        const auto c = static_cast<float>((std::fabs(t) - 1.0) / (std::fabs(t) + 1.0));
        const int chain = t > 0.0 ? 0 : 1;
        float* const lanes = bands.chain[sections[chain]++] + 2 * chain;
        lanes[0] = lanes[1] = c;
    }
}

void DropFadedStates(std::span<float> states) {
    for (float& state : states)
        state = WithoutFaded(state);
}

void DropFadedStates(QuadratureBands::Split& split) {
    DropFadedStates(split.firstState);
    for (auto& states : split.secondStates)
        DropFadedStates(states);
}

}  // namespace

void QuadratureBands::SetUp(double sampleRate) {
    *this = QuadratureBands{};
    SetUpChains(*this, sampleRate);
    SetUpSplit(upper, kUpperSplitHz, sampleRate);
    SetUpSplit(lower, kLowerSplitHz, sampleRate);
}

void QuadratureBands::Divide(const float* pairs, BandFrame* const (&bands)[kBandCount],
                             int32_t frames) QUORVEL_REAL_TIME {
    FirstOrder sections[kChainSections];
    for (int i = 0; i < kChainSections; ++i)
        sections[i] = {ReadFour<4>(chain[i]), ReadFour<4>(chainStates[i])};
    SplitRun top(upper), bottom(lower);
    FirstOrder aligned{bottom.first.c, ReadFour<4>(highState)};
    for (int32_t f = 0; f < frames; ++f) {
        const FourLanes pair = ReadFour<2>(pairs + 2 * f);
        FourLanes x = __builtin_shufflevector(pair, pair, 0, 1, 0, 1);
        for (FirstOrder& section : sections)
            x = section.Pass(x);
        FourLanes below, high, low, middle;
        top.Pass(x, below, high);
        bottom.Pass(below, low, middle);
        WriteFour<4>(low, bands[0][f]);
        WriteFour<4>(middle, bands[1][f]);
        WriteFour<4>(aligned.Pass(high), bands[2][f]);
    }
    for (int i = 0; i < kChainSections; ++i)
        WriteFour<4>(sections[i].s, chainStates[i]);
    top.Store(upper);
    bottom.Store(lower);
    WriteFour<4>(aligned.s, highState);
}

void QuadratureBands::DropFaded() {
    for (auto& states : chainStates)
        DropFadedStates(states);
    DropFadedStates(upper);
    DropFadedStates(lower);
    DropFadedStates(highState);
}

}  // namespace quorvel
