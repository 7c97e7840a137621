// A profile's chain 1, block by block and link by link.
#pragma once

#include <cstdint>

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "tests/support/probe_block.h"

namespace quorvel::test {

// Blocks have the ids that NumberedId makes of their numbers.
class ChainMaker {
  public:
    ChainMaker() { profile.GenerateNewID(); }

    template <typename Record>
    ChainMaker& Block(uint32_t number, const GUID& typeId, const Record& record) {
        auto* chain = profile.GetChain(1, true);
        QuorvelAudioBlock block(&profile, chain, typeId, NumberedId(number));
        Record copy = record;
        block.SetData(&copy, sizeof(copy));
        chain->blocks.Add(block);
        return *this;
    }

    ChainMaker& Link(uint32_t source, uint32_t destination) {
        auto* chain = profile.GetChain(1, true);
        _QuorvelAudioBlockLink link{profile.id, 1, NumberedId(source), NumberedId(destination)};
        chain->links.Add(link);
        return *this;
    }

    QuorvelAudioBlocksChain* Chain() { return profile.GetChain(1, true); }

  private:
    QuorvelAudioProfile profile;
};

}  // namespace quorvel::test
