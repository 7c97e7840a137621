// What the matrix decoder makes of sound without a direction.
#pragma once

#include "dsp/surround/decoder_options.h"
#include "dsp/surround/speaker_image.h"

namespace quorvel {

// Both images have power 1 and are orthogonal: the matrix keeps the power of any pair.
//
// With m = (left + right)/√2 and s = (left - right)/√2, and G the centre's share of the power of m:
//
//     centre          √G m
//     front l, r      α m ± β s,     α = √((1 - G - Rm)/2),  β = √((1 - Rs)/2)
//     a rear pair     w q (cos ψ left - sin ψ right)  and  w q (sin ψ left - cos ψ right)
//
// s stands in phase on both sides of a rear pair, unless the panning is kept: the right one then
// has the opposite sign. Rm and Rs are the shares of the power of m and s that the rear pairs take;
// q makes Rs the wanted share.
struct PassiveMatrix {
    SpeakerImage left{};   // of the left encoded channel
    SpeakerImage right{};  // of the right one
};

PassiveMatrix MakePassiveMatrix(const DecoderOptions& options);

}  // namespace quorvel
