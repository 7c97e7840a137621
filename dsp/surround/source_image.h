// Where the matrix decoder puts a source.
#pragma once

#include "dsp/surround/decoder_options.h"
#include "dsp/surround/speaker_image.h"

namespace quorvel {

// The direction of a source in the plane of the encoded pair, of length 1:
//
//     φ = 0 left only, 90° both alike (centre), 180° right only, -90° in anti-phase (surround)
//
// The pair itself is (cos φ/2, sin φ/2) times the source.
struct SteeringDirection {
    float x = 1.0f;  // cos φ
    float y = 0.0f;  // sin φ
};

// What the images depend on. Plain data.
struct SourceImageOptions {
    DecoderMode mode = DecoderMode::Classic;
    bool hasBackPairOnly = false;
    bool keepsPanning = false;
    float wrap = 0.0f;    // amplitude of a side for 1 at the edge of the front
    float spread = 0.0f;  // 0 to 1
};

SourceImageOptions MakeSourceImageOptions(const DecoderOptions& options);

// The image of a source, of power 1. (`left`, `right`) is (cos φ/2, sin φ/2) with cos φ/2 ≥ 0.
//
// Between two neighbours of an arc the amplitudes are sine and cosine. The front arc has left,
// centre and right 90° apart. The rear arcs go from the front to φ = -90°, where the back pair
// sounds alike: by the back pair alone, or over the side (35°) and side and back alike (58.7°,
// where film encoders put a left or right surround).
//
// With the panning kept every source is (left, right) in the front pair, in all directions.
//
// A source and its negative have the same φ, so that somewhere on a full turn the sign of the image
// must change. It does on the rear right, where the front amplitude is negative; as the rear is
// made of signals 90° ahead of the front's, that is as far from in phase as the rear left is.
SpeakerImage MakeSourceImage(const SourceImageOptions& options, SteeringDirection direction,
                             float left, float right);

}  // namespace quorvel
