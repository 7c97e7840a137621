// Second-order sections of four signals side by side: one signal a lane.
//
//     y = b0·x + s1       s1' = (b1·x + s2) - a1·y       s2' = b2·x - a2·y
//
// The coefficients are those of biquad_design.h. The form is the transposed one instead of that of
// biquad_bank.h, because its state fades by itself to values that can be set to 0.
#pragma once

#include "dsp/biquad/biquad_lanes.h"
#include "dsp/biquad/filter_band.h"

namespace quorvel {

constexpr int kLanes = 4;

// Plain data, all zero at first: silence.
struct SectionLanes {
    float b0[kLanes] = {};
    float b1[kLanes] = {};
    float b2[kLanes] = {};
    float a1[kLanes] = {};
    float a2[kLanes] = {};
    float s1[kLanes] = {};
    float s2[kLanes] = {};
};

// The highest frequency (Hz) that a filter can be tuned to at `sampleRate` (Hz): above 0.45 of it
// little is left of a filter's shape.
float HighestFrequency(double sampleRate);

// Sets the coefficients of one lane from a band whose frequency (Hz) and width are not 0; its state
// is kept. `sampleRate` in Hz; higher frequencies act as HighestFrequency. Allocates nothing.
void SetSection(SectionLanes& section, int lane, const TypedFilterBand& wanted, double sampleRate);

// Sets states that have faded below hearing to 0, before they become denormal numbers, which are
// slow. To be called every few frames.
void DropFadedStates(SectionLanes& section);
void DropFadedStates(float (&states)[kLanes]);

namespace {

// As many of the lanes in `from` as `Lanes` (float or FourLanes) has.
template <typename Lanes>
Lanes ReadLanes(const float* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof(lanes));
    return lanes;
}

template <typename Lanes>
void WriteLanes(const Lanes& lanes, float* to) {
    std::memcpy(to, &lanes, sizeof(lanes));
}

// A copy of the lanes from `lane` on, for a loop over frames. Store gives the states back.
template <typename Lanes>
struct SectionRun {
    SectionRun(const SectionLanes& section, int lane)
        : b0(ReadLanes<Lanes>(section.b0 + lane)),
          b1(ReadLanes<Lanes>(section.b1 + lane)),
          b2(ReadLanes<Lanes>(section.b2 + lane)),
          a1(ReadLanes<Lanes>(section.a1 + lane)),
          a2(ReadLanes<Lanes>(section.a2 + lane)),
          s1(ReadLanes<Lanes>(section.s1 + lane)),
          s2(ReadLanes<Lanes>(section.s2 + lane)) {}

    void Store(SectionLanes& section, int lane) const {
        WriteLanes(s1, section.s1 + lane);
        WriteLanes(s2, section.s2 + lane);
    }

    Lanes Filter(Lanes x) {
        const Lanes y = b0 * x + s1;
        s1 = (b1 * x + s2) - a1 * y;
        s2 = b2 * x - a2 * y;
        return y;
    }

    Lanes b0, b1, b2, a1, a2, s1, s2;
};

}  // namespace
}  // namespace quorvel
