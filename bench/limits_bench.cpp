// What the limits of a profile (engine/limits.h) still allow: the dearest chains within them, what
// a buffer of theirs costs, how long their build takes, and what they hold of the heap.
//
// `first_ms` is the first buffer behind a build, which allocates what is allocated late.
#include <malloc.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "bench/buffers.h"
#include "blocks/compressor_block.h"
#include "blocks/gain_block.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/stream_expander_block.h"
#include "dsp/biquad/filter_band.h"
#include "engine/graph_from_chain.h"
#include "engine/limits.h"
#include "kinds/block_type_ids.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel {
namespace {

using Record = std::vector<uint8_t>;

template <typename Parameters>
Record Bytes(const Parameters& parameters) {
    Record record(sizeof(parameters));
    std::memcpy(record.data(), &parameters, sizeof(parameters));
    return record;
}

Record MostBands() {
    Record record = Bytes(limits::kMostBands);
    for (uint32_t b = 0; b < limits::kMostBands; ++b) {
        const Record band = Bytes(FilterBand{20.0f + 15.0f * static_cast<float>(b), 1.4f,
                                             BandwidthMode::Q, b % 2 ? 0.5f : -0.5f});
        record.insert(record.end(), band.begin(), band.end());
    }
    return record;
}

Record LongestDelays() {
    MatrixDecoderParameters parameters;
    for (auto& mode : parameters.outputDelaysMs)
        std::fill(std::begin(mode), std::end(mode), limits::kLongestDelayMs);
    return Bytes(parameters);
}

// A chain under construction.
class Chain {
  public:
    // Blocks in a row, behind what there is.
    Chain& Add(const GUID& typeId, const Record& record, uint32_t times = 1) {
        for (; times > 0; --times) {
            AddBlock(typeId, record);
            if (Blocks() > 1) Link(Blocks() - 2, Blocks() - 1);
        }
        return *this;
    }
    Chain& Widest() {
        return Add(kStreamExpanderBlockTypeId,
                   Bytes(StreamExpanderParameters{limits::kMostChannels, 1}));
    }
    // Blocks side by side behind the last one, and their sum.
    Chain& Fan(const GUID& typeId, const Record& record, uint32_t times) {
        const unsigned head = Blocks() - 1;
        for (uint32_t i = 0; i < times; ++i) {
            AddBlock(typeId, record);
            Link(head, Blocks() - 1);
        }
        AddBlock(kMixerBlockTypeId, {});
        for (unsigned block = head + 1; block + 1 < Blocks(); ++block)
            Link(block, Blocks() - 1);
        return *this;
    }
    QuorvelAudioBlocksChain& Stored() { return *profile.GetChain(1, true); }

  private:
    unsigned Blocks() { return Stored().blocks.Count(); }
    void AddBlock(const GUID& typeId, Record record) {
        QuorvelAudioBlock block(&profile, &Stored(), typeId);
        block.SetData(record.data(), static_cast<unsigned>(record.size()));
        Stored().blocks.Add(block);
    }
    void Link(unsigned source, unsigned destination) {
        auto& blocks = Stored().blocks;
        _QuorvelAudioBlockLink link{profile.id, 1, blocks.Item(source).id,
                                    blocks.Item(destination).id};
        Stored().links.Add(link);
    }

    QuorvelAudioProfile profile;
};

Chain BandsOfAllChannels() {
    return Chain().Widest().Add(kPeakingEQFilterBlockTypeId, MostBands());
}
Chain LookAheadOfAllChannels() {
    return Chain().Widest().Add(kLimiterBlockTypeId,
                                Bytes(LimiterParameters{-6.0f, limits::kLongestDelayMs, 100}));
}
Chain DelaysOfTheDecoder() {
    return Chain().Add(kMatrixDecoderBlockTypeId, LongestDelays());
}
Chain MostStereoBlocks() {
    return Chain().Add(kGainBlockTypeId, Bytes(GainParameters{}), limits::kMostBlocks);
}
// Behind the expander, which counts too.
constexpr uint32_t kMostWideBlocks = limits::kMostChannelsTogether / limits::kMostChannels - 1;

Chain MostWideBlocks() {
    return Chain().Widest().Add(kCompressorBlockTypeId,
                                Bytes(CompressorParameters{-20.0f, 10, 100, 0.3f}),
                                kMostWideBlocks);
}

Chain MostWideBlocksSideBySide() {
    return Chain().Widest().Fan(kGainBlockTypeId, Bytes(GainParameters{}), kMostWideBlocks - 1);
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double HeapMegabytes() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

void BM_Dearest(benchmark::State& bench, Chain (*make)()) {
    Chain chain = make();
    const double before = HeapMegabytes();
    const auto start = std::chrono::steady_clock::now();
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    BuildGraphFromChain(graph, &chain.Stored());
    graph.SetInputFormat(2, 3, static_cast<uint32_t>(kSampleRate));
    graph.SetOutputFormat(2, 3, static_cast<uint32_t>(kSampleRate));
    bench.counters["build_ms"] = MillisecondsSince(start);
    if (!graph.IsValid()) return bench.SkipWithError("the chain makes no graph");
    const std::vector<float> source = Noise(2);
    std::vector<float> in = source, out(source.size());
    const auto first = std::chrono::steady_clock::now();
    graph.Process(in.data(), out.data(), kFrames);
    bench.counters["first_ms"] = MillisecondsSince(first);
    for (auto _ : bench) {
        in = source;
        graph.Process(in.data(), out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
    }
    bench.counters["heap_MB"] = HeapMegabytes() - before;
    Report(bench);
}

BENCHMARK_CAPTURE(BM_Dearest, bands_of_all_channels, BandsOfAllChannels)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Dearest, look_ahead_of_all_channels, LookAheadOfAllChannels)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Dearest, delays_of_the_decoder, DelaysOfTheDecoder)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Dearest, most_stereo_blocks, MostStereoBlocks)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Dearest, most_wide_blocks, MostWideBlocks)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Dearest, most_wide_blocks_side_by_side, MostWideBlocksSideBySide)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
