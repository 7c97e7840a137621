// The matrix decoder stage: an encoded pair of channels becomes seven of a surround frame.
//
//     pair ─ cleaned ─ balanced ─ two phases, three bands ─┬─ a matrix a band ─ outputs
//                                                          └─ steering ─┘
//
// Every band finds the direction of its dominant source in the pair (steering.h) and turns its
// matrix so that this source goes to its place (source_image.h) and what is left around it goes
// where a passive matrix would put it (band_matrix.h). The matrix is a rotation: the outputs
// together always have the power of the pair. The front is made in one phase, the rear 90° ahead of
// it, which undoes what film encoders do to the surrounds (quadrature_bands.h).
//
// In mode 0 the rear is one signal, low-passed at 7 kHz, in both back channels. The low-frequency
// channel is always 0: bass stays where it is. When the owner does not play all outputs, nothing is
// sent to the others.
//
// Latency 0; the group delay is 1 to 4 ms below 300 Hz and less above. How the frames are divided
// into calls changes no bit. Input samples that are not finite, above 16 or below 1e-20 in
// magnitude count as 0; what such a sample displaces is over after 300 ms. After silence the
// outputs become exactly 0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/surround/decoder_options.h"
#include "platform/real_time.h"

namespace quorvel {

// Bytes of state memory that the owner provides, aligned for floats, cleared when it makes them.
inline constexpr std::size_t kMatrixDecoderMemory = 8792;

// Floats from one frame of the buffer to the next.
inline constexpr int32_t kMatrixDecoderStride = 8;

// The stage's channels, in the order of its pointers.
enum class DecoderChannel {
    FrontLeft,  // in: the pair's left
    FrontCentre,
    FrontRight,  // in: the pair's right
    SideLeft,
    SideRight,
    LowFrequency,
    BackLeft,
    BackRight,
    Count
};
inline constexpr int32_t kDecoderChannels = static_cast<int32_t>(DecoderChannel::Count);

// Plain data.
struct MatrixDecoderConfiguration {
    uint16_t modeWord = 0;  // decoder_options.h
    uint16_t flagsWord = 0;
    float trim = 1.4125375f;     // range of the balance, linear, 1 to 2; other values: this one
    std::byte* state = nullptr;  // owner's: kMatrixDecoderMemory bytes
    int16_t frames = 0;
    DecoderOutputs outputs = DecoderOutputs::All;  // that the owner plays
    float* channels[kDecoderChannels] = {};        // the first sample of each
};

enum DecoderCommand : int32_t {
    kDecoderInitialise = 0,  // starts from silence
    kDecoderProcess = 10,    // processes `frames` frames in place
};

// Carries out a command. False for any other command, no configuration, no state memory and, when
// processing, a missing channel. Without frames there is nothing to process.
//
// Cleared memory that is processed is initialised first; another sample rate and other outputs
// initialise too. Another mode, other flags and another trim are taken up as sound goes on: the
// filters keep their past, and the matrices glide for 40 ms. Words that mean the same change no
// bit. One thread at a time; no allocation.
bool RunMatrixDecoder(int32_t command,
                      const MatrixDecoderConfiguration* configuration) QUORVEL_REAL_TIME;

}  // namespace quorvel
