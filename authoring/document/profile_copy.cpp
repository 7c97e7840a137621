#include "authoring/document/profile_copy.h"

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

QuorvelAudioProfile CopyProfileAs(const GUID& id, QuorvelAudioProfile& source) {
    QuorvelAudioProfile copy;
    copy.id = id;
    for (unsigned i = 0; i < source.PathsCount(); ++i)
        copy.AddPath(source.Path(i));
    for (unsigned c = 0; c < source.chains.Count(); ++c) {
        const QuorvelAudioBlocksChain& chain = source.chains.Item(c);
        QuorvelAudioBlocksChain& target = *copy.GetChain(chain.id, true);
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            QuorvelAudioBlock block(chain.blocks.Item(i));
            block.profileId = id;
            target.blocks.Add(block);
        }
        for (unsigned i = 0; i < chain.links.Count(); ++i) {
            _QuorvelAudioBlockLink link = chain.links.Item(i);
            link.profileId = id;
            target.links.Add(link);
        }
    }
    return copy;
}

}  // namespace quorvel::tool
