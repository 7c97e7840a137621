#include "dsp/biquad/biquad_design.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "base/math/exponential.h"
#include "base/math/power.h"
#include "base/math/trigonometry.h"

namespace quorvel {
namespace {

// What all filter types are made from, under the letters of the cookbook.
struct Prototype {
    float A = 0.0f;
    float w0 = 0.0f;
    float sn = 0.0f;  // sin(w0)
    float cs = 0.0f;  // cos(w0)
    float alpha = 0.0f;
    float K = 0.0f;  // 2·sqrt(A)·alpha of a shelf with slope 1
};

struct RawCoefficients {
    float b0 = 0.0f, b1 = 0.0f, b2 = 0.0f;
    float a0 = 0.0f, a1 = 0.0f, a2 = 0.0f;
};

bool UsesGain(FilterType type) {
    return type == FilterType::PeakingEQ || type == FilterType::LowShelf ||
           type == FilterType::HighShelf;
}

// Both ways lead to 10^(g/40), but not to the same last bit.
float Amplitude(FilterType type, float gainDb) {
    if (UsesGain(type)) return static_cast<float>(math::Pow(10.0, double{gainDb / 40.0f}));
    return std::sqrt(static_cast<float>(math::Pow(10.0, double{gainDb / 20.0f})));
}

double UncheckedAlpha(const FilterBand& band, const Prototype& p) {
    const double w = band.width;
    const double sn = p.sn;
    const double A = p.A;
    switch (band.widthMode) {
        case BandwidthMode::Q:
            return sn / (w * 2.0);
        case BandwidthMode::Octaves:
            return math::Sinh(std::numbers::ln2 / 2.0 * w * p.w0 / sn) * sn;
        case BandwidthMode::ShelfSlope:
            return std::sqrt((1.0 / A + A) * (1.0 / w - 1.0) + 2.0) * (sn * 0.5);
    }
    return 0.0;
}

Prototype MakePrototype(FilterType type, const FilterBand& band, uint32_t sampleRate) {
    const double fs = static_cast<float>(sampleRate);
    Prototype p;
    p.A = Amplitude(type, band.gainDb);
    p.w0 = static_cast<float>(double{band.frequency} * (2.0 * std::numbers::pi) / fs);
    p.sn = static_cast<float>(math::Sin(double{p.w0}));
    p.cs = static_cast<float>(math::Cos(double{p.w0}));
    const auto alpha = static_cast<float>(UncheckedAlpha(band, p));
    p.alpha = std::isfinite(alpha) ? alpha : 0.0f;
    p.K = std::sqrt(p.A + p.A) * p.sn;
    return p;
}

RawCoefficients LowPass(const Prototype& p) {
    const float edge = (1.0f - p.cs) * 0.5f;
    return {edge, 1.0f - p.cs, edge, 1.0f + p.alpha, -2.0f * p.cs, 1.0f - p.alpha};
}

RawCoefficients HighPass(const Prototype& p) {
    const float edge = (1.0f + p.cs) * 0.5f;
    return {edge, -(1.0f + p.cs), edge, 1.0f + p.alpha, -2.0f * p.cs, 1.0f - p.alpha};
}

RawCoefficients BandPass(const Prototype& p) {
    return {p.alpha, 0.0f, -p.alpha, 1.0f + p.alpha, -2.0f * p.cs, 1.0f - p.alpha};
}

RawCoefficients Notch(const Prototype& p) {
    return {1.0f, -2.0f * p.cs, 1.0f, 1.0f + p.alpha, -2.0f * p.cs, 1.0f - p.alpha};
}

RawCoefficients PeakingEQ(const Prototype& p) {
    const double raised = double{p.alpha} * double{p.A};
    const double lowered = double{p.alpha} / double{p.A};
    const auto middle = static_cast<float>(-2.0 * double{p.cs});
    return {static_cast<float>(1.0 + raised),  middle, static_cast<float>(1.0 - raised),
            static_cast<float>(1.0 + lowered), middle, static_cast<float>(1.0 - lowered)};
}

RawCoefficients LowShelf(const Prototype& p) {
    const float A = p.A, cs = p.cs, K = p.K;
    return {A * ((A + 1.0f) - (A - 1.0f) * cs + K), 2.0f * A * ((A - 1.0f) - (A + 1.0f) * cs),
            A * ((A + 1.0f) - (A - 1.0f) * cs - K), (A + 1.0f) + (A - 1.0f) * cs + K,
            -2.0f * ((A - 1.0f) + (A + 1.0f) * cs), (A + 1.0f) + (A - 1.0f) * cs - K};
}

RawCoefficients HighShelf(const Prototype& p) {
    const float A = p.A, cs = p.cs, K = p.K;
    return {A * ((A + 1.0f) + (A - 1.0f) * cs + K), -2.0f * A * ((A - 1.0f) + (A + 1.0f) * cs),
            A * ((A + 1.0f) + (A - 1.0f) * cs - K), (A + 1.0f) - (A - 1.0f) * cs + K,
            2.0f * ((A - 1.0f) - (A + 1.0f) * cs),  (A + 1.0f) - (A - 1.0f) * cs - K};
}

// By FilterType.
constexpr std::array<RawCoefficients (*)(const Prototype&), 7> kDesigns = {
    LowPass, HighPass, BandPass, Notch, PeakingEQ, LowShelf, HighShelf};

}  // namespace

bool ComputeCoefficients(BiquadSection& section, uint32_t sampleRate) {
    const FilterBand& band = section.band;
    if (band.width == 0.0f || band.frequency == 0.0f) return false;
    RawCoefficients raw;
    const auto design = static_cast<std::size_t>(section.type);
    if (design < kDesigns.size())
        raw = kDesigns[design](MakePrototype(section.type, band, sampleRate));
    section.b0 = raw.b0 / raw.a0;
    section.b1 = raw.b1 / raw.a0;
    section.b2 = raw.b2 / raw.a0;
    section.a1 = raw.a1 / raw.a0;
    section.a2 = raw.a2 / raw.a0;
    return true;
}

}  // namespace quorvel
