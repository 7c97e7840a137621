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
#include "blocks/filter_band.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/stream_expander_block.h"
#include "engine/block_type_ids.h"
#include "engine/gain_block.h"
#include "engine/graph_from_chain.h"
#include "engine/limits.h"
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

// A chain of blocks in a row.
class Row {
  public:
    Row& Add(const GUID& typeId, Record record, uint32_t times = 1) {
        auto& chain = *profile.GetChain(1, true);
        for (; times > 0; --times) {
            QuorvelAudioBlock block(&profile, &chain, typeId);
            block.SetData(record.data(), static_cast<unsigned>(record.size()));
            chain.blocks.Add(block);
            const unsigned count = chain.blocks.Count();
            if (count == 1) continue;
            _QuorvelAudioBlockLink link{profile.id, 1, chain.blocks.Item(count - 2).id, block.id};
            chain.links.Add(link);
        }
        return *this;
    }
    Row& Widest() {
        return Add(kStreamExpanderBlockTypeId,
                   Bytes(StreamExpanderParameters{limits::kMostChannels, 1}));
    }
    const QuorvelAudioBlocksChain* Chain() { return profile.GetChain(1, true); }

  private:
    QuorvelAudioProfile profile;
};

Row BandsOfAllChannels() {
    return Row().Widest().Add(kPeakingEQFilterBlockTypeId, MostBands());
}
Row LookAheadOfAllChannels() {
    return Row().Widest().Add(kLimiterBlockTypeId,
                              Bytes(LimiterParameters{-6.0f, limits::kLongestDelayMs, 100}));
}
Row DelaysOfTheDecoder() {
    return Row().Add(kMatrixDecoderBlockTypeId, LongestDelays());
}
Row MostStereoBlocks() {
    return Row().Add(kGainBlockTypeId, Bytes(GainParameters{}), limits::kMostBlocks);
}
Row MostWideBlocks() {
    return Row().Widest().Add(kCompressorBlockTypeId,
                              Bytes(CompressorParameters{-20.0f, 10, 100, 0.3f}),
                              limits::kMostBlocks - 1);
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double HeapMegabytes() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

void BM_Dearest(benchmark::State& bench, Row (*make)()) {
    Row row = make();
    const double before = HeapMegabytes();
    const auto start = std::chrono::steady_clock::now();
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    BuildGraphFromChain(graph, row.Chain());
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

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
