#include "authoring/document/named_profile.h"

#include <map>

#include "authoring/document/parameter_fields.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {

void NameBlocks(NamedProfile& named) {
    named.names.clear();
    for (unsigned c = 0; c < named.profile.chains.Count(); ++c) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(c);
        std::vector<std::string>& names = named.names.emplace_back();
        std::map<std::string, int> numbers;
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const BlockFields* fields = FindBlockFields(chain.blocks.Item(i).typeId);
            const std::string label = fields ? fields->label : "block";
            names.push_back(label + "-" + std::to_string(++numbers[label]));
        }
    }
}

}  // namespace quorvel::tool
