// A profile together with what it is for and what its blocks are called.
#pragma once

#include <string>
#include <vector>

#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel::tool {

// The packed form has neither: they are the JSON file's own. Names are also made by NameBlocks.
struct NamedProfile {
    QuorvelAudioProfile profile{};
    std::string purpose{};                          // one line; empty when nothing is told
    std::vector<std::vector<std::string>> names{};  // by chain and block, in the profile's order
};

// Names every block by its kind and its number among the blocks of that kind in its chain
// ("peaking-1", "gain-2"; "block-1" for kinds without parameters of a known form).
void NameBlocks(NamedProfile& named);

}  // namespace quorvel::tool
