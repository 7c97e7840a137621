#include "dsp/surround/source_pair.h"

#include "dsp/surround/head_model.h"

namespace quorvel {
namespace {

// The four ears of one frame.
using EarFrame = float[kLanes];

void PlaceSource(SourcePair::Source& source, int32_t lane, const SoundSource& wanted,
                 double sampleRate, EarFilters& filters) {
    const HeadDirection direction = DirectionAt(wanted.azimuth);
    const bool isLeft = wanted.azimuth > 0.0;
    const bool isBehind = direction.azimuth == 180.0;
    source.channel = wanted.channel;
    source.gain = static_cast<float>(direction.gain);
    source.leftLane = lane + (isLeft ? SourcePair::kNear : SourcePair::kFar);
    source.rightLane = lane + (isLeft ? SourcePair::kFar : SourcePair::kNear);
    source.leftShare = isBehind ? 0.5f : isLeft ? 1.0f : 0.0f;
    source.rightShare = 1.0f - source.leftShare;
    source.delay.SetLag(FarEarLag(wanted.azimuth, sampleRate));
    SetEarFilter(filters, lane + SourcePair::kNear, direction.nearEar, sampleRate);
    SetEarFilter(filters, lane + SourcePair::kFar, direction.farEar, sampleRate);
}

// The sums are symmetric in left and right: an addition of two terms may be turned round.
void AddToStretch(const SourcePair& pair, const EarFrame* ears, EarStretch& stretch) {
    const auto& [a, b] = pair.sources;
    for (int32_t f = 0; f < stretch.frames; ++f) {
        stretch.left[f] += ears[f][a.leftLane] + ears[f][b.leftLane];
        stretch.right[f] += ears[f][a.rightLane] + ears[f][b.rightLane];
    }
    const float* frame = stretch.in;
    for (int32_t f = 0; f < stretch.frames; ++f, frame += stretch.channels) {
        const float first = frame[a.channel] * a.gain, second = frame[b.channel] * b.gain;
        stretch.sides[f][0] += first * a.leftShare + second * b.leftShare;
        stretch.sides[f][1] += first * a.rightShare + second * b.rightShare;
    }
}

}  // namespace

void SourcePair::Place(const SoundSource& first, const SoundSource* second, double sampleRate) {
    *this = SourcePair{};
    PlaceSource(sources[0], 0, first, sampleRate, filters);
    PlaceSource(sources[1], 1, second ? *second : first, sampleRate, filters);
    if (!second) sources[1].gain = 0.0f;
}

void RenderPairPlain(SourcePair& pair, EarStretch& stretch) QUORVEL_REAL_TIME {
    EarFrame ears[kLongestStretch];
    for (int32_t lane = 0; lane < 2; ++lane) {
        SourcePair::Source& source = pair.sources[lane];
        const float* h = source.delay.taps;
        for (int32_t f = 0; f < stretch.frames; ++f) {
            const float x = stretch.in[f * stretch.channels + source.channel] * source.gain;
            const float* past = source.delay.Push(x);
            ears[f][SourcePair::kNear + lane] = x;
            ears[f][SourcePair::kFar + lane] =
                (past[0] * h[0] + past[2] * h[2]) + (past[1] * h[1] + past[3] * h[3]);
        }
    }
    for (int32_t lane = 0; lane < kLanes; ++lane) {
        EarRun<float> filters(pair.filters, lane);
        for (int32_t f = 0; f < stretch.frames; ++f)
            ears[f][lane] = filters.Filter(ears[f][lane]);
        filters.Store(pair.filters, lane);
    }
    AddToStretch(pair, ears, stretch);
}

void RenderPair(SourcePair& pair, EarStretch& stretch) QUORVEL_REAL_TIME {
    EarFrame ears[kLongestStretch];
    auto& [a, b] = pair.sources;
    const FourLanes aTaps = ReadFour<4>(a.delay.taps), bTaps = ReadFour<4>(b.delay.taps);
    EarRun<FourLanes> filters(pair.filters, 0);
    const float* frame = stretch.in;
    for (int32_t f = 0; f < stretch.frames; ++f, frame += stretch.channels) {
        const float first = frame[a.channel] * a.gain, second = frame[b.channel] * b.gain;
        const FourLanes p = ReadFour<4>(a.delay.Push(first)) * aTaps;
        const FourLanes q = ReadFour<4>(b.delay.Push(second)) * bTaps;
        // Lanes: both products of samples 0 and 1, those of 2 and 3, their sums, both far ears.
        const FourLanes sums =
            __builtin_shufflevector(p, q, 0, 4, 1, 5) + __builtin_shufflevector(p, q, 2, 6, 3, 7);
        const FourLanes far = sums + __builtin_shufflevector(sums, sums, 2, 3, 0, 1);
        const FourLanes heads = FourLanes{first, second, 0.0f, 0.0f};
        WriteFour<4>(filters.Filter(__builtin_shufflevector(heads, far, 0, 1, 4, 5)), ears[f]);
    }
    filters.Store(pair.filters, 0);
    AddToStretch(pair, ears, stretch);
}

}  // namespace quorvel
