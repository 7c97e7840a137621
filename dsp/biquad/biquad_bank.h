// A bank of second-order sections: the same number of bands in series on every channel.
//
// Threads: no lock; the owner serialises all calls. Configure, ConfigureTyped and Recompute
// calculate sines and powers, and the first two allocate when the shape changes, which is why a
// parameter change may cost one allocation on the real-time thread. Process does neither.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dsp/biquad/biquad_kernels.h"
#include "dsp/biquad/biquad_section.h"
#include "dsp/biquad/filter_band.h"
#include "platform/real_time.h"

namespace quorvel {

struct BiquadBank {
    // Memory for the sections; null when it cannot be had. Aligned as by operator new.
    using AllocateFunction = void* (*)(std::size_t bytes);
    using ReleaseFunction = void (*)(void* memory);

    BiquadBank() = default;
    ~BiquadBank();
    BiquadBank(const BiquadBank&) = delete;
    BiquadBank& operator=(const BiquadBank&) = delete;

    // Gives every channel the same `bandCount` bands from `bandList`, all of type `filterType`, and
    // computes the coefficients. The shape is (channels, bands, type): sections of an unchanged
    // shape keep their past, those of a new one start from silence. `bandList` may be null when one
    // of the counts is 0.
    //
    // When the sections cannot be allocated (a negative count and more bytes than the address space
    // has count as that), the new shape stands without sections, `valid` stays as it was, and
    // samples pass unchanged until the shape changes again.
    void Configure(int32_t channelCount, int32_t bandCount, FilterType filterType,
                   const FilterBand* bandList);

    // The same for two channels × two bands with a type each. The type of the shape is that of the
    // first record.
    void ConfigureTyped(const std::array<TypedFilterBand, 2>& records);

    // Computes all coefficients again, after a new `sampleRate`. The past is kept.
    void Recompute();

    // Lets every section start from silence. The coefficients are kept.
    void ClearPast() QUORVEL_REAL_TIME;

    // Filters `in` into `out`: interleaved, `width` floats a frame, the same buffer or without
    // overlap. Nothing happens when `frames` or `width` is below 1. Copies unchanged: all channels
    // while the bank is not valid or has no sections, and those beyond `channels`.
    void Process(const float* in, float* out, int32_t frames, int32_t width) QUORVEL_REAL_TIME;

    BiquadSection* sections = nullptr;  // owned; channel c, band b at c × bands + b
    int32_t bands = 0;                  // sections per channel
    int32_t channels = 0;
    uint32_t sampleRate = 0;  // Hz; 0 while unknown
    FilterType type = FilterType::LowPass;
    bool valid = false;  // every section's coefficients could be computed
    AllocateFunction allocate = AllocateGlobally;
    ReleaseFunction release = ReleaseGlobally;
    BiquadKernel kernel = RunBiquadsPlain;  // chosen with the shape

  private:
    static void* AllocateGlobally(std::size_t bytes);
    static void ReleaseGlobally(void* memory);

    bool Shape(int32_t channelCount, int32_t bandCount, FilterType filterType);
    void ReleaseSections();
    void ComputeSection(BiquadSection& section);
};

}  // namespace quorvel
