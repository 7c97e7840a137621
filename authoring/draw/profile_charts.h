// What a chain does, as charts.
#pragma once

#include <cstdint>
#include <vector>

#include "authoring/draw/plot_script.h"
#include "authoring/render/chain_graph.h"

namespace quorvel::tool {

// Magnitude and phase of the chain and of each of its filter blocks, then a row for each
// compressor, limiter and gate: its levels when settled, and its gain over time when the level
// steps up and down. All measured. `only` is the input channel that gets the sine, -1 for all.
// Throws ToolError (invalid) when the chain's output is not finite.
std::vector<Chart> ChainCharts(const ChosenChain& chosen, const ChainFormat& format,
                               std::int32_t only);

}  // namespace quorvel::tool
