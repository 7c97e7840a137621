#include "tests/same_bits/rendering.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "authoring/render/chain_graph.h"
#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "profile/quorvel_audio_block.h"
#include "tests/support/sha256.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::byte>;

// What the edit of a kind adds to the single-precision number at a place of its record.
struct NumberEdit {
    GUID kind;
    std::size_t offset;
    float change;
};
constexpr std::size_t kFirstBandHertz = 4, kFirstBandGain = 14;
constexpr NumberEdit kEdits[] = {{kGainBlockTypeId, 0, -2.5f},
                                 {kCompressorBlockTypeId, 0, -7.0f},
                                 {kCompressorBlockTypeId, 12, 0.125f},
                                 {kNoiseGateBlockTypeId, 0, 3.0f},
                                 {kLimiterBlockTypeId, 0, -4.0f},
                                 {kLowPassFilterBlockTypeId, kFirstBandHertz, 111.0f},
                                 {kHighPassFilterBlockTypeId, kFirstBandHertz, 33.0f},
                                 {kBandPassFilterBlockTypeId, kFirstBandHertz, 111.0f},
                                 {kNotchFilterBlockTypeId, kFirstBandHertz, 111.0f},
                                 {kPeakingEQFilterBlockTypeId, kFirstBandHertz, 111.0f},
                                 {kPeakingEQFilterBlockTypeId, kFirstBandGain, 3.3f},
                                 {kLowShelfFilterBlockTypeId, kFirstBandGain, -3.3f},
                                 {kHighShelfFilterBlockTypeId, kFirstBandGain, 3.3f}};

Bytes RecordOf(const QuorvelAudioBlock& block) {
    Bytes record(block.dataSize);
    if (block.data) std::memcpy(record.data(), block.data, record.size());
    return record;
}

Bytes EditedRecord(const QuorvelAudioBlock& block) {
    Bytes record = RecordOf(block);
    for (const NumberEdit& edit : kEdits) {
        float number = 0.0f;
        if (edit.kind != block.typeId || edit.offset + sizeof(number) > record.size()) continue;
        std::memcpy(&number, &record[edit.offset], sizeof(number));
        number += edit.change;
        std::memcpy(&record[edit.offset], &number, sizeof(number));
    }
    return record;
}

class Rendering {
  public:
    Rendering(const QuorvelAudioBlocksChain& playedChain, const RenderFormat& format)
        : chain(playedChain), channels(format.channels) {
        tool::SetUpChainGraph(
            graph, chain,
            {.channels = static_cast<uint32_t>(channels), .sampleRate = format.sampleRate});
    }

    // The next frames, which the graph may change.
    void Process(float* in, int32_t frames) {
        out.resize(static_cast<std::size_t>(frames) * 2);
        graph.Process(in, out.data(), frames);
        for (const float sample : out)
            digest.AddNumber(sample);
    }

    // The edits, one a step.
    void Edit(int32_t step) {
        if (step == 0) ForEachBlock(EditedRecord);
        if (step == 1) RemoveAndBringBack(chain.blocks.Item(chain.blocks.Count() / 2));
        if (step == 2) graph.SetChannelDetectionHold(30);
        if (step == 3) ForEachBlock(RecordOf);
    }

    std::string Digest() { return digest.Finish(); }

  private:
    void ForEachBlock(Bytes (*recordOf)(const QuorvelAudioBlock&)) {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const QuorvelAudioBlock& stored = chain.blocks.Item(i);
            const Bytes record = recordOf(stored);
            const auto block = graph.FindBlock(stored.id);
            if (block) block->SetParameterData(record.data(), stored.dataSize);
        }
    }

    void RemoveAndBringBack(const QuorvelAudioBlock& stored) {
        graph.RemoveBlockById(stored.id);
        graph.AddNewBlock(stored.typeId, stored.data, stored.dataSize, stored.id);
        for (unsigned i = 0; i < chain.links.Count(); ++i) {
            graph.LinkById(chain.links.Item(i).sourceBlockId,
                           chain.links.Item(i).destinationBlockId);
        }
    }

    const QuorvelAudioBlocksChain& chain;
    int32_t channels;
    AudioGraph graph;
    std::vector<float> out;
    Sha256 digest;
};

}  // namespace

std::string RenderDigest(const QuorvelAudioBlocksChain& chain, const RenderFormat& format,
                         const std::vector<float>& input) {
    constexpr int32_t kSteps = 5;  // with an edit between each two of them
    Rendering rendering(chain, format);
    std::vector<float> samples = input;
    const auto frames = static_cast<int32_t>(samples.size()) / format.channels;
    const auto buffer = static_cast<int32_t>(format.sampleRate / 100);
    int32_t step = 0;
    for (int32_t done = 0, count = 0; done < frames; done += count) {
        if (done >= int64_t{frames} * (step + 1) / kSteps) rendering.Edit(step++);
        const bool isOdd = done / buffer % 4 == 3;
        count = std::min(isOdd ? buffer / 2 + 7 : buffer, frames - done);
        rendering.Process(samples.data() + int64_t{done} * format.channels, count);
    }
    return rendering.Digest();
}

}  // namespace quorvel::test
