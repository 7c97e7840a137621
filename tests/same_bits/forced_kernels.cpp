#include "tests/same_bits/forced_kernels.h"

#include "blocks/biquad_kernels.h"
#include "platform/processor.h"

namespace {

struct Kernels {
    std::string_view name;
    quorvel::BiquadKernel biquads;  // none: the library's choice
};

constexpr Kernels kKernels[] = {{"plain", quorvel::RunBiquadsPlain},
                                {"fours", quorvel::RunBiquadsInFours},
                                {"eights", quorvel::RunBiquadsInEights},
                                {"fastest", nullptr}};

Kernels forced = kKernels[3];

}  // namespace

extern "C" {

quorvel::BiquadKernel __real__ZN7quorvel18ChooseBiquadKernelEv();

quorvel::BiquadKernel __wrap__ZN7quorvel18ChooseBiquadKernelEv() {
    return forced.biquads ? forced.biquads : __real__ZN7quorvel18ChooseBiquadKernelEv();
}

}  // extern "C"

namespace quorvel::test {

bool ForceKernels(std::string_view name) {
    if (name == "eights" && !platform::ProcessorHasAvx()) return false;
    for (const Kernels& kernels : kKernels) {
        if (kernels.name != name) continue;
        forced = kernels;
        return true;
    }
    return false;
}

}  // namespace quorvel::test
