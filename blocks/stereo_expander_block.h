// Makes a stereo pair out of its input's first two channels, as wide as its gains ask for.
//
// With L and R the first and the second channel of the input, LP and HP the filters of the record,
// g(x) = 10^(x / 20):
//
//   l = g(inputGainDb) * L             r = g(inputGainDb) * R
//   H = g(highSumGainDb) * (HP(l) + HP(r))
//   left  = g(directGainDb) * l + g(lowGainDb) * LP(l) + g(highGainDb) * (HP(l) + H)
//   right = g(directGainDb) * r + g(lowGainDb) * LP(r) + g(highGainDb) * (HP(r) + H)
//
// There is no signal processing of its own here: the formula is a network of ordinary blocks in a
// private audio graph. So what every graph does happens to this block's audio too: the input scan
// adds its noise to the input buffer, in place, and the fixed limiter guards the output.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "dsp/biquad/filter_band.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct StereoExpanderParameters {
    float inputGainDb = 0.0f;    // dB; ahead of everything
    float directGainDb = 0.0f;   // dB; the unfiltered path
    float highSumGainDb = 0.0f;  // dB; the sum of both high bands, as fed to both sides
    float lowGainDb = 0.0f;      // dB; the low band
    float highGainDb = 0.0f;     // dB; the high band with what the sum adds to it
    FilterBand lowPassBand;      // a band with a zero frequency or width lets everything pass
    FilterBand highPassBand;
};
#pragma pack(pop)
static_assert(sizeof(StereoExpanderParameters) == 48);
static_assert(offsetof(StereoExpanderParameters, directGainDb) == 4);
static_assert(offsetof(StereoExpanderParameters, highSumGainDb) == 8);
static_assert(offsetof(StereoExpanderParameters, lowGainDb) == 12);
static_assert(offsetof(StereoExpanderParameters, highGainDb) == 16);
static_assert(offsetof(StereoExpanderParameters, lowPassBand) == 20);
static_assert(offsetof(StereoExpanderParameters, highPassBand) == 34);

// Any width in, two channels out. Further channels of the input are not heard, whatever speakers
// they belong to. A mono input is both L and R, at -3 dB. Before the first record all gains are
// 0 dB and the filters let everything pass. `in` and `out` may be one buffer.
//
// New gains hold from the next buffer on, without a ramp; new bands too, and the filters keep their
// histories. Reset has nothing to clear: no block of the network clears anything on it.
//
// The network is made once, by the constructor. Out of memory, or configured for a width that is
// no format (0, negative, above 65535), the block writes silence.
class StereoExpanderBlock final : public AudioBlock {
  public:
    explicit StereoExpanderBlock(const GUID& instanceId);
    ~StereoExpanderBlock() override;

    int32_t GetOutputChannels() const override;  // 2
    uint32_t GetChannelMask() const override;    // 0x3, front left and right

    // Configures the network, which may allocate, as every configuration of a graph.
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes a StereoExpanderParameters record.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME;

  private:
    using Pair = std::array<std::shared_ptr<AudioBlock>, 2>;  // left, right

    void BuildNetwork();

    std::unique_ptr<AudioGraph> network;  // null: no memory
    bool isFormatSet = false;             // the network runs at this block's format

    // The blocks of the network that the record sets.
    Pair inputGain, directGain, lowGain, highGain, lowPass, highPass;
    std::shared_ptr<AudioBlock> highSumGain;
};

}  // namespace quorvel
