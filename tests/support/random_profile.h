// Profiles for tests and benches, and a way to compare them.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "platform/windows_api.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel::test {

// A GUID whose bytes tell `number`.
GUID NumberedGuid(std::uint32_t number);

struct ProfileShape {
    unsigned chains = 3;  // at most so many of each, at least none
    unsigned blocks = 6;  // a chain
    unsigned links = 6;   // a chain
    unsigned paths = 4;
    unsigned dataSize = 80;  // bytes a block
};

// Fills an empty profile with random content within `shape`; the same for the same generator state.
void FillRandomly(QuorvelAudioProfile& profile, std::mt19937& random, const ProfileShape& shape);

// All that a profile holds, as text; equal texts for equal profiles. Links tell their own fields.
std::string Describe(const QuorvelAudioProfile& profile);
std::string Describe(const QuorvelAudioBlocksChain& chain);

// `guid` as hexadecimal bytes in memory order.
std::string Describe(const GUID& guid);

}  // namespace quorvel::test
