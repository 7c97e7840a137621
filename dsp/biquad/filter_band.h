// The packed records that describe filter bands: the parameter record of the filter blocks is made
// of them, and so are profiles.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvel {

// The kinds of second-order filter. A record may hold any other number; biquad_design.h says what
// becomes of it.
enum class FilterType : uint32_t {
    LowPass = 0,
    HighPass = 1,
    BandPass = 2,
    Notch = 3,
    PeakingEQ = 4,
    LowShelf = 5,
    HighShelf = 6,
};

// How `width` of a band is to be read. A record may hold any other number.
enum class BandwidthMode : uint16_t {
    Q = 0,           // quality factor
    Octaves = 1,     // bandwidth in octaves
    ShelfSlope = 2,  // shelf slope S
};

#pragma pack(push, 1)

// One band. A zero `frequency` or `width` makes it faulty.
struct FilterBand {
    float frequency = 0.0f;                      // corner or centre frequency, Hz
    float width = 0.0f;                          // Q, octaves or shelf slope
    BandwidthMode widthMode = BandwidthMode::Q;  // the unit of `width`
    float gainDb = 0.0f;                         // dB; peaking and shelving filters
};

// A band that brings its own filter type.
struct TypedFilterBand {
    FilterBand band;
    FilterType type = FilterType::LowPass;
};

#pragma pack(pop)

static_assert(sizeof(FilterBand) == 14);
static_assert(offsetof(FilterBand, frequency) == 0);
static_assert(offsetof(FilterBand, width) == 4);
static_assert(offsetof(FilterBand, widthMode) == 8);
static_assert(offsetof(FilterBand, gainDb) == 10);
static_assert(sizeof(TypedFilterBand) == 18);
static_assert(offsetof(TypedFilterBand, type) == 14);

}  // namespace quorvel
