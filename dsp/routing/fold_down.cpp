#include "dsp/routing/fold_down.h"

#include <algorithm>
#include <array>

#include "dsp/routing/fold_down_pairs.h"
#include "dsp/routing/fold_down_weights.h"

namespace quorvel {
namespace {

using namespace fold_down;

// The plain definitions, one frame each.

void MonoToMono(const float* in, float* out) {
    out[0] = in[0];
}

void MonoToStereo(const float* in, float* out) {
    const float side = in[0] * kMinus3Db;
    out[0] = side;
    out[1] = side;
}

void StereoToMono(const float* in, float* out) {
    out[0] = (in[1] + in[0]) * kMinus6Db;
}

void StereoToStereo(const float* in, float* out) {
    const float left = in[0], right = in[1];
    out[0] = left;
    out[1] = right;
}

// Left, right, low frequency.
void TwoPointOneToMono(const float* in, float* out) {
    out[0] = (in[1] + in[0] + in[2]) * kMinus6Db;
}

void TwoPointOneToStereo(const float* in, float* out) {
    const float left = in[0] + in[2], right = in[1] + in[2];
    out[0] = left;
    out[1] = right;
}

// Front pair, back pair.
void QuadToMono(const float* in, float* out) {
    out[0] = (in[2] + in[0] + in[1] + in[3]) * kMinus6Db;
}

void QuadToStereo(const float* in, float* out) {
    const float left = in[2] + in[0], right = in[3] + in[1];
    out[0] = left;
    out[1] = right;
}

// Left, right, centre, back centre.
void SurroundToMono(const float* in, float* out) {
    const float c = in[3] * kMinus3Db + in[2] * kMinus3Db;
    out[0] = (in[1] + c) * kMinus6Db + (in[0] + c) * kMinus6Db;
}

void SurroundToStereo(const float* in, float* out) {
    const float c = in[3] * kMinus3Db + in[2] * kMinus3Db;
    const float left = in[0] + c, right = in[1] + c;
    out[0] = left;
    out[1] = right;
}

// Front pair, centre, low frequency, one surround pair (back or side).
void FivePointOneToMono(const float* in, float* out) {
    const float c = in[2] * kMinus3Db + in[3];
    out[0] = (in[1] + c + in[5]) * kMinus6Db + (in[0] + c + in[4]) * kMinus6Db;
}

void FivePointOneToStereo(const float* in, float* out) {
    const float c = in[2] * kMinus3Db + in[3];
    const float left = in[0] + c + in[4], right = in[1] + c + in[5];
    out[0] = left;
    out[1] = right;
}

// Front pair, centre, low frequency, two surround pairs.
void SevenPointOneToMono(const float* in, float* out) {
    const float c = in[2] * kMinus3Db + in[3];
    const float l = (in[6] + in[4]) * kMinus3Db;
    const float r = (in[7] + in[5]) * kMinus3Db;
    out[0] = (in[1] + c + r * kOwnSide + l * kOtherSide) * kMinus6Db +
             (in[0] + c + l * kOwnSide + r * kOtherSide) * kMinus6Db;
}

void SevenPointOneToStereo(const float* in, float* out) {
    const float c = in[2] * kMinus3Db + in[3];
    const float l = (in[6] + in[4]) * kMinus3Db;
    const float r = (in[7] + in[5]) * kMinus3Db;
    const float left = in[0] + c + l * kOwnSide + r * kOtherSide;
    const float right = in[1] + c + r * kOwnSide + l * kOtherSide;
    out[0] = left;
    out[1] = right;
}

// A block by the plain definition, with strides that the compiler knows. A frame that gets wider
// would overwrite the next one in place, so those walk backwards.
template <FoldDown::Frame kFrame, int32_t kIn, int32_t kOut>
void EachFrame(const float* in, float* out, int32_t frames) {
    if constexpr (kOut > kIn) {
        for (int32_t f = frames - 1; f >= 0; --f)
            kFrame(in + std::ptrdiff_t{f} * kIn, out + std::ptrdiff_t{f} * kOut);
    } else {
        for (int32_t f = 0; f < frames; ++f, in += kIn, out += kOut)
            kFrame(in, out);
    }
}

// The rows of one layout of speakers: to mono, to stereo.
template <int32_t kChannels, FoldDown::Frame kMono, FoldDown::Frame kStereo>
constexpr std::array<FoldDown, 2> Layout(uint32_t mask) {
    return {{{mask, kChannels, 1, kMono, EachFrame<kMono, kChannels, 1>},
             {mask, kChannels, 2, kStereo, EachFrame<kStereo, kChannels, 2>}}};
}

template <typename Rule, FoldDown::Frame kMono, FoldDown::Frame kStereo>
constexpr std::array<FoldDown, 2> PairedLayout(uint32_t mask) {
    return {{{mask, Rule::kChannels, 1, kMono, ToMono<Rule, kMono>},
             {mask, Rule::kChannels, 2, kStereo, ToStereo<Rule, kStereo>}}};
}

constexpr std::array kFoldDowns = {
    Layout<1, MonoToMono, MonoToStereo>(0x4),
    Layout<2, StereoToMono, StereoToStereo>(0x3),
    Layout<3, TwoPointOneToMono, TwoPointOneToStereo>(0xB),
    Layout<4, QuadToMono, QuadToStereo>(0x33),
    PairedLayout<LeftRightCentreBackCentre, SurroundToMono, SurroundToStereo>(0x107),
    PairedLayout<FivePointOne, FivePointOneToMono, FivePointOneToStereo>(0x3F),
    PairedLayout<FivePointOne, FivePointOneToMono, FivePointOneToStereo>(0x60F),
    PairedLayout<SevenPointOne, SevenPointOneToMono, SevenPointOneToStereo>(0xFF),
    PairedLayout<SevenPointOne, SevenPointOneToMono, SevenPointOneToStereo>(0x63F),
};

}  // namespace

const FoldDown* FindFoldDown(uint32_t mask, uint32_t outputChannels) {
    if (outputChannels < 1 || outputChannels > 2) return nullptr;
    const auto layout =
        std::ranges::find_if(kFoldDowns, [mask](const auto& rows) { return rows[0].mask == mask; });
    return layout == kFoldDowns.end() ? nullptr : &(*layout)[outputChannels - 1];
}

void FoldFrames(const FoldDown& foldDown, const float* in, float* out, int32_t frames,
                uint32_t stride) QUORVEL_REAL_TIME {
    const auto width = static_cast<int32_t>(stride);  // negative: no width that a buffer has
    if (width < foldDown.inputChannels) return;
    if (width == foldDown.inputChannels) {
        foldDown.block(in, out, frames);
        return;
    }
    for (int32_t f = 0; f < frames; ++f, in += stride, out += foldDown.outputChannels)
        foldDown.frame(in, out);
}

}  // namespace quorvel
