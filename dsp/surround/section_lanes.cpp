#include "dsp/surround/section_lanes.h"

#include <algorithm>
#include <cstdint>

#include "dsp/biquad/biquad_design.h"
#include "dsp/surround/faded.h"

namespace quorvel {

float HighestFrequency(double sampleRate) {
    constexpr double kHighestShare = 0.45;
    return static_cast<float>(kHighestShare * sampleRate);
}

void SetSection(SectionLanes& section, int lane, const TypedFilterBand& wanted, double sampleRate) {
    BiquadSection design;
    design.type = wanted.type;
    design.band = wanted.band;
    design.band.frequency = std::min(design.band.frequency, HighestFrequency(sampleRate));
    ComputeCoefficients(design, static_cast<uint32_t>(sampleRate));
    section.b0[lane] = design.b0;
    section.b1[lane] = design.b1;
    section.b2[lane] = design.b2;
    section.a1[lane] = design.a1;
    section.a2[lane] = design.a2;
}

void DropFadedStates(SectionLanes& section) {
    DropFadedStates(section.s1);
    DropFadedStates(section.s2);
}

void DropFadedStates(float (&states)[kLanes]) {
    for (float& state : states)
        state = WithoutFaded(state);
}

}  // namespace quorvel
