// The decoding matrix of one band: two encoded channels to the decoder's outputs.
//
// With the dominant source in the direction d of the plane of the pair and p across it, both of
// length 1, and their images u and v, of power 1 and orthogonal:
//
//     M = u dᵀ + v pᵀ        so  Mᵀ M = 1
//
// The outputs together have the power of the pair whatever the steering does: nothing pumps. A lone
// source has nothing along p and goes where u says and nowhere else. With M0 the passive matrix, g
// the image of the source and w from 0 (ambience) to 1 as the source becomes dominant,
//
//     u = unit((1 - w) M0 d + w g)      v = unit(M0 p - (u · M0 p) u)
#pragma once

#include <cstdint>

#include "dsp/surround/passive_matrix.h"
#include "dsp/surround/quadrature_bands.h"
#include "dsp/surround/source_image.h"

namespace quorvel {

// Plain data. The images of both encoded channels, and by how much they change a frame.
struct BandMatrix {
    SpeakerImage left{};
    SpeakerImage right{};
    SpeakerImage leftStep{};
    SpeakerImage rightStep{};

    // Stands still at the passive matrix.
    void Rest(const PassiveMatrix& passive);

    // Moves to the matrix of the steering (x, y) within `frames` frames, in a straight line.
    // `pace` below 1 makes it that share of the way only.
    void Aim(const PassiveMatrix& passive, const SourceImageOptions& options, float x, float y,
             int32_t frames, float pace) QUORVEL_REAL_TIME;

    // Adds the band's share of `count` frames to the outputs: fronts from phase A, rears from
    // phase B.
    void Apply(const BandFrame* frames, SpeakerImage* outputs, int32_t count) QUORVEL_REAL_TIME;
};

}  // namespace quorvel
