// Parameters in words.
#pragma once

#include <string>
#include <vector>

#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {

// The block's parameters, one line each, such as "thresholdDb -18 dB"; those of a list one item a
// line, such as "bands 1: frequency 1000 Hz, width 1.41, widthMode Q, gainDb 3 dB". A record that
// does not read as parameters is given as its size; without a record there is one line that says
// so.
std::vector<std::string> ParameterLines(const QuorvelAudioBlock& block);

struct ParameterValue {
    std::string name{};  // such as "thresholdDb", or "bands 2 gainDb" in a list
    std::string text{};  // with its unit
};

// The same with every field by itself.
std::vector<ParameterValue> ParameterValues(const QuorvelAudioBlock& block);

}  // namespace quorvel::tool
