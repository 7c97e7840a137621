// The filters of four ears, side by side: one ear a lane.
//
// Each is a first-order high shelf and two peaking sections (PeakingEQ of biquad_design.h, width Q)
// in series. The shelf is of first order, which biquad_design.h has not:
//
//     y = c0·x + s        s' = c1·x - c2·y
//     k = tan(π·f/fs), g = 10^(G/40)
//     c0 = (k+g)/(k+1/g), c1 = (k-g)/(k+1/g), c2 = (k-1/g)/(k+1/g)
//
// It is the bilinear transform of (g·s + 1)/(s/g + 1), normalised to f (Hz), where its gain is half
// of G (dB); fs is the sample rate (Hz). Frequencies above HighestFrequency act as that.
#pragma once

#include "dsp/surround/head_model.h"
#include "dsp/surround/section_lanes.h"

namespace quorvel {

// Plain data, all zero at first: silence.
struct EarFilters {
    struct Shelf {
        float c0[kLanes] = {};
        float c1[kLanes] = {};
        float c2[kLanes] = {};
        float s[kLanes] = {};
    };
    Shelf shelf{};
    SectionLanes peaks[2] = {};
};

// Sets the coefficients of one lane; its state is kept. Allocates nothing.
void SetEarFilter(EarFilters& filters, int lane, const EarCurve& curve, double sampleRate);

// As in section_lanes.h.
void DropFadedStates(EarFilters& filters);

namespace {

// A copy of the lanes from `lane` on, for a loop over frames. Store gives the states back.
template <typename Lanes>
struct EarRun {
    EarRun(const EarFilters& filters, int lane)
        : c0(ReadLanes<Lanes>(filters.shelf.c0 + lane)),
          c1(ReadLanes<Lanes>(filters.shelf.c1 + lane)),
          c2(ReadLanes<Lanes>(filters.shelf.c2 + lane)),
          s(ReadLanes<Lanes>(filters.shelf.s + lane)),
          first(filters.peaks[0], lane),
          second(filters.peaks[1], lane) {}

    void Store(EarFilters& filters, int lane) const {
        WriteLanes(s, filters.shelf.s + lane);
        first.Store(filters.peaks[0], lane);
        second.Store(filters.peaks[1], lane);
    }

    Lanes Filter(Lanes x) {
        const Lanes y = c0 * x + s;
        s = c1 * x - c2 * y;
        return second.Filter(first.Filter(y));
    }

    Lanes c0, c1, c2, s;
    SectionRun<Lanes> first, second;
};

}  // namespace
}  // namespace quorvel
