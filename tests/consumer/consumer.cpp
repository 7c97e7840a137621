// Edits a profile and runs its chain, with nothing but the library.
#include <base/decibels.h>
#include <blocks/gain_block.h>
#include <client/quorvel_audio_device.h>
#include <engine/audio_graph.h>
#include <engine/graph_from_chain.h>
#include <kinds/block_type_ids.h>
#include <profile/quorvel_audio_block.h>
#include <profile/quorvel_audio_blocks_chain.h>
#include <profile/quorvel_audio_profile.h>

#include <cstdio>
#include <vector>

int main() {
    int unused;  // a warning of ours as an error would stop this build
    QuorvelAudioDevice device;
    if (device.GetHandle() != INVALID_HANDLE_VALUE) return 1;

    quorvel::GainParameters record{-6.0f};
    QuorvelAudioProfile profile;
    QuorvelAudioBlocksChain* const chain = profile.GetChain(1, true);
    QuorvelAudioBlock block(&profile, chain, quorvel::kGainBlockTypeId, GUID{1});
    block.SetData(&record, sizeof(record));
    chain->blocks.Add(block);

    quorvel::AudioGraph graph;
    graph.SetNoiseEnabled(false);
    graph.SetOutputFormat(2, 0x3, 48000);
    graph.SetInputFormat(2, 0x3, 48000);
    quorvel::BuildGraphFromChain(graph, chain);
    std::vector<float> in(960, 0.5f);
    std::vector<float> out(960);
    graph.Process(in.data(), out.data(), 480);
    std::printf("%g\n", static_cast<double>(out.back()));
    return out.back() == 0.5f * quorvel::DbToLinear(-6.0f) ? 0 : 1;
}
