// A block as the model of the graph sees it: a function from samples to samples.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/audio_block.h"

namespace quorvel::model {

using Samples = std::vector<float>;  // interleaved, frames × channels
using BlockReference = std::shared_ptr<AudioBlock>;

// The first `count` frames of `in` through the block, into memory of its own: what the block leaves
// unwritten is silence.
inline Samples RunBlock(AudioBlock& block, Samples in, int32_t frames) {
    Samples out(static_cast<std::size_t>(frames * block.GetOutputChannels()), 0.0f);
    block.Process(in.data(), out.data(), frames);
    return out;
}

// The same with two or more inputs. Inputs of one width are summed in single precision; a block
// that takes each input at its own width gets them as they are.
inline Samples RunBlock(AudioBlock& block, const std::vector<BlockReference>& sources,
                        const std::vector<const Samples*>& inputs, int32_t frames) {
    if (block.WantsUniformInputs()) {
        Samples sum(static_cast<std::size_t>(frames * block.GetInputChannels()), 0.0f);
        for (const Samples* input : inputs) {
            for (std::size_t i = 0; i < sum.size(); ++i)
                sum[i] += (*input)[i];
        }
        return RunBlock(block, std::move(sum), frames);
    }
    std::vector<AudioBuffer> buffers(inputs.size());
    std::vector<BlockInput> blockInputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        buffers[i].Grow(inputs[i]->size() * sizeof(float));
        std::ranges::copy(*inputs[i], buffers[i].data);
        blockInputs.push_back({sources[i], &buffers[i], {}});
    }
    Samples out(static_cast<std::size_t>(frames * block.GetOutputChannels()), 0.0f);
    block.ProcessInputs(blockInputs, out.data(), frames);
    return out;
}

}  // namespace quorvel::model
