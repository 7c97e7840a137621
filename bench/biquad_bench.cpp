// Time of one 480-frame block through the filter bank. The counter times_plain is the ratio to the
// plain definition, both measured by their fastest run within the same benchmark.
#include <benchmark/benchmark.h>

#include "bench/biquad_case.h"
#include "platform/processor.h"

namespace quorvel {
namespace {

void FilterBank(benchmark::State& state, BiquadKernel kernel) {
    if (kernel == RunBiquadsInEights && !platform::ProcessorHasAvx()) {
        state.SkipWithError("this processor has no AVX");
        return;
    }
    BiquadCase shape(static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1)));
    for (auto _ : state)
        shape.Run(kernel);
    state.SetItemsProcessed(state.iterations() * BiquadCase::kFrames);
    state.counters["times_plain"] = shape.BestSeconds(RunBiquadsPlain) / shape.BestSeconds(kernel);
}

void Grid(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"channels", "bands"})
        ->ArgsProduct({{1, 2, 6, 8}, {1, 5, 10, 20}})
        ->MinTime(0.05);
}

BENCHMARK_CAPTURE(FilterBank, plain, RunBiquadsPlain)->Apply(Grid);
BENCHMARK_CAPTURE(FilterBank, fours, RunBiquadsInFours)->Apply(Grid);
BENCHMARK_CAPTURE(FilterBank, eights, RunBiquadsInEights)->Apply(Grid);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
