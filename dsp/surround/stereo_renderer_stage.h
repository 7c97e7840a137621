// The stereo renderer stage: up to seven channels become the two ears' signals of a headphone.
//
// Every channel stands in a direction of its own around the listener (n = number of channels, in
// the order of an input frame; the angle is the azimuth, 0 straight ahead, positive to the left):
//
//     n  1     2     3     4     5      6     7
//        0°   +30°  +30°  +30°  +30°   +30°  +30°   front left; n = 1: centre
//             -30°    0°    0°    0°     0°    0°   front right; n ≥ 3: centre
//                   -30°  -30°  -30°   -30°  -30°   front right
//                         180° +110°   +90°  +90°   back centre; side left
//                              -110°   -90°  -90°   side right
//                                      180° +150°   back centre; back left
//                                           -150°   back right
//
// What reaches the ears from a direction is calculated relative to straight ahead (head_model.h): a
// centre channel has no colour at all. All but the centre also have a few weak reflections
// (early_reflections.h). The result is scaled by 10^(-6/20), and the caller raises it by 6 dB; then
// a centre stands at -3.01 dB in each ear and every other channel is about as loud as in a
// fold-down that takes what surrounds at -3 dB: to 0.3 dB, and 0.7 to 1.1 dB softer from 150° on.
//
// Times and frequencies are the same at every sample rate from 3 kHz to 384 kHz: at 90° the far ear
// hears 0.70 to 0.74 ms later. Slower rates cannot carry what tells directions apart.
//
// Latency 0. Mirroring the input mirrors the output bit for bit, and how the frames are divided
// into calls changes no bit. Input samples that are not finite, above 16 or below 1e-20 in
// magnitude count as 0; what such a sample displaces is over after 20 ms. After silence the output
// becomes exactly 0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// Bytes of work memory that the owner provides, and how many of them, from the start on, it clears
// when it makes them. The others need no value: the stage sets them when it sets itself up.
inline constexpr std::size_t kStereoRendererMemory = 28620;
inline constexpr std::size_t kStereoRendererClearedMemory = 3588 * sizeof(float);

// What the owner of a renderer keeps. It sets all but `memory` before a call of
// RenderStereo.
struct StereoRendererState {
    int32_t inputChannels = 0;    // n, 1 to 7
    int32_t rateCode = 0;         // of the sample rate: StereoRendererRateCode
    std::byte* memory = nullptr;  // owner's: kStereoRendererMemory bytes, aligned for floats
    int32_t sampleRate = 0;       // Hz, for the code 0, which many rates share; 0: 48000
};

// The code of a sample rate in Hz: 48000 → 0, 44100 → 1, 32000 → 2, 96000 → 16, 88200 → 17. Any
// other rate gives 0.
int32_t StereoRendererRateCode(int32_t sampleRate);

// Renders `in` (frames × n) into `out` (frames × 2, left and right). The two do not overlap.
// Nothing happens when `frames` is below 1; `out` becomes silent when n is out of range or there is
// no memory. A code that is none of the above counts as 0. Rates beyond 10 Hz to 384 kHz act as the
// nearest of the two.
//
// The first call, and the first one after n or the rate has changed, clears the past and calculates
// the coefficients (some sines and powers). One thread at a time; no allocation.
void RenderStereo(StereoRendererState& state, const float* in, float* out,
                  int32_t frames) QUORVEL_REAL_TIME;

}  // namespace quorvel
