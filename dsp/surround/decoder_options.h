// What the words of a matrix decoder's configuration ask for.
#pragma once

#include <cstdint>

namespace quorvel {

// 0: the classic four directions, with one rear signal. 1: separate sides and backs. 2: as 1, with
// options.
enum class DecoderMode { Classic, Surround, Adjustable };

// The outputs that reach the listener. All: the pair is the front pair of a stereo sound. The two
// others: it is the surround pair of a wider sound, whose owner plays the front outputs and one
// rear pair around the listener, and channels of its own in place of the rest.
enum class DecoderOutputs : int32_t { All, FrontAndSides, FrontAndBacks };

// Plain data.
struct DecoderOptions {
    double sampleRate = 48000.0;  // Hz
    DecoderMode mode = DecoderMode::Classic;
    bool balances = true;          // the levels of the pair follow its centre
    bool hasBackPairOnly = false;  // one rear pair, in the place of the backs; no sides
    bool keepsPanning = false;     // sources stay in the front pair as they are panned; the rear
                                   // pair has ambience alone, panned alike
    bool wraps = false;            // the edges of the front reach around to the sides
    bool isBrisk = false;          // small moves are followed twice as fast
    double rearShare = 0.5;        // of the power of ambience in anti-phase, 0.05 to 0.80
    double spread = 0.0;           // of the front: 0 has a centre, 1 leaves a pair as it is

    bool operator==(const DecoderOptions&) const = default;
};

// Mode word: bits 5 to 11 are 2 for mode 0 and 7 for mode 2, anything else is mode 1; bits 12 to 15
// are the code of the sample rate: 32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000 Hz from
// 0 on; other codes count as 48000 Hz.
//
// Flags word:
//
//     bit       modes
//     0         all     no balancing
//     1         1, 2    the back pair only
//     3         2       wraps, unless there is the back pair only
//     4 to 7    2       rear share 0.40 + 0.05 (value - 7), 0.05 to 0.80; 7 is neutral
//     8 to 11   2       spread: value / 7, at most 1
//     12        all     brisk
//
// Bit 2 repeats that the mode is 0 and is not needed.
//
// With outputs that are not all heard every mode is mode 2 with the panning kept and one rear pair:
// nothing is sent to where it would be lost, and sources keep the level and the colour that they
// have without decoding.
DecoderOptions ReadDecoderOptions(uint16_t modeWord, uint16_t flagsWord, DecoderOutputs outputs);

}  // namespace quorvel
