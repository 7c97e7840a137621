// The block behind all filter blocks: a list of bands on every channel.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/biquad/biquad_bank.h"
#include "dsp/biquad/filter_band.h"
#include "engine/audio_block.h"

namespace quorvel {

// The fewest bytes of a parameter record that SetParameterData takes: a 32-bit band count and one
// FilterBand, even when the count is 0.
inline constexpr uint32_t kSmallestFilterRecord = sizeof(uint32_t) + sizeof(FilterBand);

// Runs its bands in series, all with the block's one filter type. Width in = width out. Without
// bands, without a sample rate, or when any band has a zero frequency or width, samples pass
// unchanged.
//
// Bands are taken by the setters and applied by the next Process or SetFormat. Applying keeps the
// filters' past when the number of channels and of bands stays the same (a moved slider does not
// click), else it allocates the sections anew, on whichever thread that happens, and starts from
// silence. Reset does not clear the past; StartAfresh does, when a sample that is not finite has
// come to stay in it. Channels that a format brought by SetInputsFormat adds pass unchanged until
// bands are applied again.
class EQFilterBlock : public AudioBlock {
  public:
    EQFilterBlock(const GUID& instanceId, FilterType type);

    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // The record: a little-endian 32-bit count, then as many FilterBands. False, and nothing
    // changes, when `data` is null, `size` is below kSmallestFilterRecord or below what the count
    // asks for, or the memory for the bands cannot be had.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME { bank.ClearPast(); }

  private:
    void ApplyBands();

    BiquadBank bank;
    bool pending = false;  // bandList is newer than the bank
    FilterType filterType = FilterType::LowPass;
    std::vector<FilterBand> bandList;
};

}  // namespace quorvel
