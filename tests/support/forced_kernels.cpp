#include "tests/support/forced_kernels.h"

#include "dsp/biquad/biquad_kernels.h"
#include "dsp/dynamics/compressor_kernels.h"
#include "dsp/dynamics/limiter_kernels.h"
#include "platform/processor.h"

namespace {

using quorvel::BiquadKernel;
using quorvel::dynamics::CompressorKernel;
using quorvel::dynamics::LimiterKernel;

// Leaves every frame to the definition.
template <typename Run>
int32_t HandleNone(Run&) {
    return 0;
}

struct Kernels {
    std::string_view name;
    BiquadKernel biquads;  // none: the library's choice, as below
    CompressorKernel compressor;
    LimiterKernel limiter;
};

constexpr Kernels kKernels[] = {
    {"plain", quorvel::RunBiquadsPlain, HandleNone<quorvel::dynamics::CompressorRun>,
     HandleNone<quorvel::dynamics::LimiterRun>},
    {"fours", quorvel::RunBiquadsInFours, quorvel::dynamics::RunCompressorInTwos,
     quorvel::dynamics::RunLimiterInTwos},
    {"eights", quorvel::RunBiquadsInEights, quorvel::dynamics::RunCompressorInFours,
     quorvel::dynamics::RunLimiterInFours},
    {"fastest", nullptr, nullptr, nullptr}};

const Kernels* forced = &kKernels[3];

}  // namespace

extern "C" {

BiquadKernel __real__ZN7quorvel18ChooseBiquadKernelEv();
CompressorKernel __real__ZN7quorvel8dynamics22ChooseCompressorKernelEv();
LimiterKernel __real__ZN7quorvel8dynamics19ChooseLimiterKernelEv();

BiquadKernel __wrap__ZN7quorvel18ChooseBiquadKernelEv() {
    return forced->biquads ? forced->biquads : __real__ZN7quorvel18ChooseBiquadKernelEv();
}

CompressorKernel __wrap__ZN7quorvel8dynamics22ChooseCompressorKernelEv() {
    return forced->compressor ? forced->compressor
                              : __real__ZN7quorvel8dynamics22ChooseCompressorKernelEv();
}

LimiterKernel __wrap__ZN7quorvel8dynamics19ChooseLimiterKernelEv() {
    return forced->limiter ? forced->limiter : __real__ZN7quorvel8dynamics19ChooseLimiterKernelEv();
}

}  // extern "C"

namespace quorvel::test {

bool ForceKernels(std::string_view name) {
    if (name == "eights" && !platform::ProcessorHasAvx2()) return false;
    for (const Kernels& kernels : kKernels) {
        if (kernels.name != name) continue;
        forced = &kernels;
        return true;
    }
    return false;
}

}  // namespace quorvel::test
