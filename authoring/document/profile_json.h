// The JSON form of a profile.
//
//   id        GUID, a fresh one when left out
//   paths     executables: texts, or {"data": hex} for UTF-16LE that no text can spell
//   chains    number; blocks; links, pairs of upstream and downstream block
//   block     name, unique in its chain; id, a fresh one when left out; type, class name or GUID;
//             parameters by the names of parameter_fields.h, or data, the raw record in hex.
//             profileId and chainId stand only where they differ from the profile's and chain's.
//   link end  a block's name or id
//
// Written JSON reads back to the same packed bytes, unless blocks of a chain share an id, which
// reading refuses.
#pragma once

#include <cstddef>
#include <vector>

#include "authoring/check/chain_check.h"
#include "authoring/document/json_place.h"
#include "authoring/document/json_text.h"
#include "authoring/document/named_profile.h"
#include "authoring/document/parameter_json.h"

namespace quorvel::tool {

// Where one chain that was read stands in the document.
struct ChainSource {
    std::size_t position = 0;           // in "chains"
    bool hasNumber = false;             // else the chain has the number 0
    bool isWhole = false;               // no fault was met in it
    std::vector<std::size_t> blocks{};  // by block of the chain: its position in "blocks"
    std::vector<std::size_t> links{};   // by link: its position in "links"
    ChainGaps gaps{};
};

// What reading met, where it goes on behind faults.
struct ProfileReading {
    FaultList faults{};                 // each with its place
    std::vector<ChainSource> chains{};  // one for each of the profile, in its order
};

// Reads `document` into `named`, which must be empty. Throws ToolError (invalid) with the place of
// the first fault. With a `reading`, which must be empty too, every fault that does not hide others
// goes there instead, and `named` has what could be read: chains may then share a number; a block
// without a readable type has the null type, one whose record has a fault has none, one without an
// id of its own has a fresh one, and one without a name is called by its id.
void ReadProfile(const Json& document, NamedProfile& named, ProfileReading* reading = nullptr);

OrderedJson WriteProfile(const NamedProfile& named);

}  // namespace quorvel::tool
