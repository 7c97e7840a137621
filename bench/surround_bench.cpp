// The matrix decoder and the blocks around it at 48 kHz: nanoseconds a frame, and the share of real
// time that they take. The renderer, which the decoder is measured against, runs beside it.
//
// Fixed input: noise of full scale, two independent channels, or one source that moves round.
#include <cmath>
#include <cstdint>
#include <memory>

#include "base/channel_masks.h"
#include "bench/buffers.h"
#include "blocks/external_surround_block.h"
#include "blocks/surround_block.h"
#include "dsp/surround/matrix_decoder_stage.h"
#include "dsp/surround/stereo_renderer_stage.h"

namespace quorvel {
namespace {

void Renderer(benchmark::State& bench) {
    std::vector<std::byte> memory(kStereoRendererMemory);
    StereoRendererState state{7, StereoRendererRateCode(48000), memory.data()};
    const std::vector<float> in = Noise(7);
    std::vector<float> out(2 * kFrames);
    for (auto _ : bench) {
        RenderStereo(state, in.data(), out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}
BENCHMARK(Renderer);

// Input restored each round: the stage works in place.
void Decoder(benchmark::State& bench, int mode, float anticorrelation) {
    constexpr int kCodes[] = {2, 3, 7};
    std::vector<std::byte> memory(kMatrixDecoderMemory);
    MatrixDecoderConfiguration configuration;
    configuration.modeWord = static_cast<uint16_t>(2 * 4096 + kCodes[mode] * 32 + 25);
    configuration.state = memory.data();
    configuration.frames = kFrames;
    std::vector<float> frames(kMatrixDecoderStride * kFrames);
    constexpr int kSlots[] = {0, 2, 1, 6, 7, 3, 4, 5};
    for (int c = 0; c < kDecoderChannels; ++c)
        configuration.channels[c] = frames.data() + kSlots[c];
    const std::vector<float> in = Noise(2);
    for (auto _ : bench) {
        for (std::size_t f = 0; f < kFrames; ++f) {
            frames[8 * f] = in[2 * f];
            frames[8 * f + 1] =
                in[2 * f + 1] * (1.0f - std::fabs(anticorrelation)) + in[2 * f] * anticorrelation;
        }
        RunMatrixDecoder(kDecoderProcess, &configuration);
        benchmark::DoNotOptimize(frames.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}
BENCHMARK_CAPTURE(Decoder, classic_ambience, 0, 0.0f);
BENCHMARK_CAPTURE(Decoder, surround_ambience, 1, 0.0f);
BENCHMARK_CAPTURE(Decoder, surround_centre, 1, 0.9f);
BENCHMARK_CAPTURE(Decoder, surround_rear, 1, -0.7f);
BENCHMARK_CAPTURE(Decoder, adjustable_rear, 2, -0.7f);

// A block to stereo, with as many input channels as the argument says; `Before()` comes before
// every buffer.
template <typename Step>
void RunBlock(benchmark::State& bench, AudioBlock& block, const Step& Before) {
    const auto channels = static_cast<int32_t>(bench.range(0));
    block.SetFormat(channels, DefaultChannelMask(static_cast<uint32_t>(channels)), 48000);
    std::vector<float> in = Noise(channels), out(2 * kFrames);
    for (auto _ : bench) {
        Before();
        block.Process(in.data(), out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}

// Stereo and 5.1 are decoded, 7.1 is rendered as it is.
void MatrixDecoder(benchmark::State& bench) {
    const auto block = std::make_unique<MatrixDecoderBlock>(GUID{});
    const MatrixDecoderParameters parameters{.decodeMode = 1};
    block->SetParameters(&parameters);
    RunBlock(bench, *block, [] {});
}
BENCHMARK(MatrixDecoder)->Arg(2)->Arg(6)->Arg(8);

// Off, on, and in a fade that is started anew before every buffer.
void Surround(benchmark::State& bench, int32_t first, int32_t step) {
    const auto block = std::make_unique<SurroundBlock>(GUID{});
    SurroundParameters parameters{.surroundOn = first, .decoderParameters = {.decodeMode = 1}};
    block->SetParameters(&parameters);
    RunBlock(bench, *block, [&] {
        parameters.surroundOn += step;
        if (step != 0) block->SetParameters(&parameters);
    });
}
BENCHMARK_CAPTURE(Surround, off, 0, 0)->Arg(2)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(Surround, on, 1, 0)->Arg(2)->Arg(6)->Arg(8);
BENCHMARK_CAPTURE(Surround, fading, 1, 1)->Arg(2)->Arg(6)->Arg(8);

// The substitute engine, which renders every speaker by itself.
void ExternalSurround(benchmark::State& bench) {
    const auto block = std::make_unique<ExternalSurroundBlock>(GUID{});
    const ExternalSurroundParameters parameters{.effectEnabled = 1};
    block->SetParameters(&parameters);
    RunBlock(bench, *block, [] {});
}
BENCHMARK(ExternalSurround)->Arg(2)->Arg(6)->Arg(8);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
