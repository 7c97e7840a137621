// What has changed from one profile to another.
#pragma once

#include <string>
#include <vector>

#include "authoring/document/named_profile.h"

namespace quorvel::tool {

// One line a change, such as "chain 1, equaliser: bands 2 gainDb 3 dB, was 1.5 dB"; none when
// both say the same. Chains belong together by number, blocks by id, then by name and kind, then by
// kind and place; links by the blocks that they join. Not compared are the order of blocks, names,
// the purpose, and ids: those that a JSON file leaves out are made anew each time it is read.
std::vector<std::string> ProfileChanges(const NamedProfile& before, const NamedProfile& after);

}  // namespace quorvel::tool
