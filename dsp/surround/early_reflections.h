// A few weak reflections of a small room, which bring sound out of the head.
//
//     send   Butterworth high-pass 300 Hz, low-pass 4 kHz, second order each
//     left  += room · (l[4.3 ms] + 0.9 · r[6.9 ms] - 0.8 · l[9.7 ms])      mirrored for the right
//
// l and r are the sends of what stands on the left and on the right. Pink noise comes back
// 20.7 dB below the direct sound. Much stronger reflections would cut narrow dips of 6 dB into a
// phantom centre; weaker ones leave the sound in the head.
#pragma once

#include <cstdint>

#include "dsp/surround/section_lanes.h"
#include "platform/real_time.h"

namespace quorvel {

// Work goes in stretches of at most this many frames.
inline constexpr int32_t kLongestStretch = 32;

// What stands on the left and on the right, frame by frame.
using SideFrame = float[2];

// Plain data.
struct EarlyReflections {
    static constexpr int32_t kRing = 1024;  // samples; the longest delay is 931 frames at 96 kHz
    static constexpr int32_t kTaps = 3;

    SectionLanes highPass{};  // lanes 0 and 1: left and right
    SectionLanes lowPass{};
    // Up to 102 kHz every frame of the sends stands in the rings; beyond, every second, third or
    // fourth, and what is read is interpolated: 4 kHz are far below even so.
    int32_t spacing = 1;         // frames from one sample of a ring to the next
    int32_t delays[kTaps] = {};  // frames
    int32_t next = 0;            // frame, counted from the first one that the rings hold
    float rings[2][kRing] = {};

    // Starts from silence. `sampleRate` in Hz, at most 384000.
    void SetUp(double sampleRate);

    // Takes `frames` frames of both sides, at most kLongestStretch, and adds their reflections
    // to the ears.
    void Add(const SideFrame* sides, float* left, float* right, int32_t frames) QUORVEL_REAL_TIME;

    // As in section_lanes.h.
    void DropFaded();
};

}  // namespace quorvel
