// What a configuration application does to a profile while audio plays, read from a JSON file:
//
//   { "at": 1.5, "set": "eq", "parameters": {…} }           fields left out keep their values;
//                                                           null is no value
//   { "at": 2, "set": "other", "data": "00ff10" }
//   { "at": 3, "add": {block}, "links": [["eq", "new"]] }   links may be left out
//   { "at": 4, "remove": "eq" }                             its links go with it
//   { "at": 5, "link": ["a", "b"] }, { "at": 5, "unlink": ["a", "b"] }
//   { "at": 6, "profile": "other.json" }                    from beside the edits file
//
// `at` is in seconds of sound. Blocks are called by name or id, those that earlier edits brought
// included; the order in time counts, for equal times the order in the file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "authoring/document/named_profile.h"
#include "client/quorvel_audio_device.h"

namespace quorvel::tool {

// One request to the driver; the result is the request's.
using DriverRequest = std::function<DWORD(QuorvelAudioDevice&)>;

struct ProfileEdit {
    double atSeconds = 0.0;
    std::string words{};   // "set eq", for a time line
    std::string remark{};  // to be told behind them: "; the block refuses …"; empty mostly
    // What is wrong with the chain after the edit, for a time line too: that it makes no valid
    // graph and why, or what the graph leaves out; empty when nothing is.
    std::string fault{};
    std::vector<DriverRequest> requests{};
};

// Reads the edits of chain `chainNumber` of `start`, in the order of time. A profile that replaces
// the first keeps its id and its paths, so that it stays the one in use. Throws ToolError: file
// when a file cannot be read, invalid with the place of the first fault.
std::vector<ProfileEdit> LoadEdits(const std::string& path, const NamedProfile& start,
                                   std::uint32_t chainNumber);

}  // namespace quorvel::tool
