// Which samples may enter a chain, and which may leave it.
//
// Any thread; no allocation, no lock.
#pragma once

#include <bit>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// The largest magnitude that counts as audio: 48 dB above full scale, more than an engine mixes.
inline constexpr float kLoudestInput = 256.0f;

// Without its sign bit a float orders like the integer of the same bits; infinities and then NaNs
// come last.
constexpr uint32_t MagnitudeBits(float sample) {
    return std::bit_cast<uint32_t>(sample) & 0x7FFFFFFFu;
}

// Neither infinite nor NaN.
constexpr bool IsFinite(float sample) {
    return MagnitudeBits(sample) < 0x7F800000u;
}

// Finite, and at most kLoudestInput in magnitude. -0.0 and denormal numbers are.
constexpr bool IsSane(float sample) {
    return MagnitudeBits(sample) <= MagnitudeBits(kLoudestInput);
}

// Whether all of `count` samples are (0 or more). About one instruction a sample.
bool AreFinite(const float* samples, int64_t count) QUORVEL_REAL_TIME;
bool AreSane(const float* samples, int64_t count) QUORVEL_REAL_TIME;

// Replaces what is not sane by 0 and returns how many samples that were. Writes nothing else.
uint64_t ReplaceInsane(float* samples, int64_t count) QUORVEL_REAL_TIME;

}  // namespace quorvel
