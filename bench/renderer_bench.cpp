// The stereo renderer at 48 kHz: nanoseconds a frame, and the share of real time that it takes.
//
// Fixed input, noise of full scale; the plain definition runs beside it in the same program.
#include <array>
#include <cstdint>

#include "bench/buffers.h"
#include "dsp/surround/head_renderer.h"
#include "dsp/surround/stereo_renderer_stage.h"

namespace quorvel {
namespace {

// Silence after noise costs no more: fading filters must not end in denormal numbers.
void Stage(benchmark::State& bench, bool isSilent) {
    const auto channels = static_cast<int32_t>(bench.range(0));
    std::vector<std::byte> memory(kStereoRendererMemory);
    StereoRendererState state{channels, StereoRendererRateCode(48000), memory.data()};
    std::vector<float> in = Noise(channels), out(2 * kFrames);
    RenderStereo(state, in.data(), out.data(), kFrames);
    if (isSilent) in.assign(in.size(), 0.0f);
    for (auto _ : bench) {
        RenderStereo(state, in.data(), out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}
BENCHMARK_CAPTURE(Stage, noise, false)->Arg(2)->Arg(5)->Arg(7);
BENCHMARK_CAPTURE(Stage, silence, true)->Arg(7);

// The pairs of seven channels, by the definition and in lanes.
void Renderer(benchmark::State& bench,
              void (HeadRenderer::*render)(const float*, float*, int32_t)) {
    constexpr std::array<SoundSource, 7> kSources = {
        {{0, 30}, {1, 0}, {2, -30}, {3, 90}, {4, -90}, {5, 150}, {6, -150}}};
    HeadRenderer renderer;
    renderer.Place(kSources, 7, kSampleRate);
    const std::vector<float> in = Noise(7);
    std::vector<float> out(2 * kFrames);
    for (auto _ : bench) {
        (renderer.*render)(in.data(), out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}
BENCHMARK_CAPTURE(Renderer, plain, &HeadRenderer::RenderPlain);
BENCHMARK_CAPTURE(Renderer, lanes, &HeadRenderer::Render);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
