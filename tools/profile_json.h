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

#include <string>

#include "tools/json_place.h"
#include "tools/json_text.h"
#include "tools/named_profile.h"
#include "tools/parameter_json.h"

namespace quorvel::tool {

// Reads `document` into `named`, which must be empty. Throws ToolError (invalid) with the place of
// the first fault. With a list, every fault that does not hide others goes there instead, and
// `named` has what could be read: the blocks and names of chains with faults may then not match.
void ReadProfile(const Json& document, NamedProfile& named, FaultList* faults = nullptr);

OrderedJson WriteProfile(const NamedProfile& named);

}  // namespace quorvel::tool
