// The fast paths of the fold-downs whose frames are pairs of channels: two frames at a time, a pair
// of each in the lanes of a quad. Each lane sees the additions of the plain definition in the same
// order; where the operands of one addition stand the other way round, the sum is the same number.
#pragma once

#include <cstdint>

#include "base/float_quad.h"
#include "dsp/routing/fold_down_weights.h"

namespace quorvel::fold_down {

// Two consecutive frames. Pair(k) is {channel 2k, channel 2k + 1} of the one, then of the other.
template <int32_t kChannels>
struct TwoFrames {
    const float* in = nullptr;

    Quad Pair(int32_t k) const { return LoadPairs(in + 2 * k, in + kChannels + 2 * k); }
};

// What centre and low frequency add to both sides: c = in[2] * kMinus3Db + in[3], in both lanes of
// a pair. (A product with 1 is the number itself.)
inline Quad CentreAndLowFrequency(Quad pair) {
    const Quad weighted = pair * Quad{kMinus3Db, 1.0f, kMinus3Db, 1.0f};
    return weighted + SwapInPairs(weighted);
}

// The rules: left and right of two frames each, {L, R, L, R}.

struct LeftRightCentreBackCentre {
    static constexpr int32_t kChannels = 4;
    static Quad Stereo(TwoFrames<kChannels> frames) {
        const Quad weighted = frames.Pair(1) * kMinus3Db;
        return frames.Pair(0) + (weighted + SwapInPairs(weighted));
    }
};

struct FivePointOne {
    static constexpr int32_t kChannels = 6;
    static Quad Stereo(TwoFrames<kChannels> frames) {
        return frames.Pair(0) + CentreAndLowFrequency(frames.Pair(1)) + frames.Pair(2);
    }
};

struct SevenPointOne {
    static constexpr int32_t kChannels = 8;
    static Quad Stereo(TwoFrames<kChannels> frames) {
        const Quad surround = (frames.Pair(3) + frames.Pair(2)) * kMinus3Db;
        return frames.Pair(0) + CentreAndLowFrequency(frames.Pair(1)) + surround * kOwnSide +
               SwapInPairs(surround) * kOtherSide;
    }
};

// Whole blocks. `kFrame` is the rule's plain definition, for the frames that are left over. Each
// turn reads its frames before it writes, and writes no further than it has read: `in` and `out`
// may be one buffer.

template <typename Rule, void (*kFrame)(const float*, float*)>
void ToStereo(const float* in, float* out, int32_t frames) {
    int32_t left = frames;
    for (; left >= 4; left -= 4, in += 4 * Rule::kChannels, out += 8) {
        const Quad first = Rule::Stereo({in});
        const Quad second = Rule::Stereo({in + 2 * Rule::kChannels});
        StoreQuad(out, first);
        StoreQuad(out + 4, second);
    }
    for (; left > 0; --left, in += Rule::kChannels, out += 2)
        kFrame(in, out);
}

// Right at -6 dB plus left at -6 dB.
template <typename Rule, void (*kFrame)(const float*, float*)>
void ToMono(const float* in, float* out, int32_t frames) {
    int32_t left = frames;
    for (; left >= 4; left -= 4, in += 4 * Rule::kChannels, out += 4) {
        const Quad first = Rule::Stereo({in}) * kMinus6Db;
        const Quad second = Rule::Stereo({in + 2 * Rule::kChannels}) * kMinus6Db;
        StoreQuad(out, __builtin_shufflevector(first, second, 1, 3, 5, 7) +
                           __builtin_shufflevector(first, second, 0, 2, 4, 6));
    }
    for (; left > 0; --left, in += Rule::kChannels, ++out)
        kFrame(in, out);
}

}  // namespace quorvel::fold_down
