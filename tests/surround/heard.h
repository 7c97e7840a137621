// A matrix decoder block, and what it makes of a sound.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "blocks/matrix_decoder_block.h"
#include "tests/support/samples.h"

namespace quorvel::test {

inline std::unique_ptr<MatrixDecoderBlock> MakeBlock(const MatrixDecoderParameters& parameters,
                                                     int32_t channels, uint32_t mask,
                                                     int32_t rate = 48000) {
    auto block = std::make_unique<MatrixDecoderBlock>(GUID{});
    EXPECT_TRUE(block->SetParameterData(&parameters, sizeof(parameters)));
    block->SetFormat(channels, mask, rate);
    return block;
}

// `in` has frames of the block's width, the result has two channels.
inline std::vector<float> Hear(AudioBlock& block, const std::vector<float>& in,
                               std::size_t blockFrames = 480) {
    const auto channels = static_cast<std::size_t>(block.GetInputChannels());
    const std::size_t frames = in.size() / channels;
    std::vector<float> input = in, out(2 * frames, kUntouched);
    for (std::size_t f = 0; f < frames; f += blockFrames) {
        const std::size_t count = std::min(blockFrames, frames - f);
        block.Process(input.data() + f * channels, out.data() + 2 * f, static_cast<int32_t>(count));
    }
    return out;
}

}  // namespace quorvel::test
