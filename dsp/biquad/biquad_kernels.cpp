#include "dsp/biquad/biquad_kernels.h"

#include "platform/processor.h"

namespace quorvel {

BiquadKernel ChooseBiquadKernel() {
    return platform::ProcessorHasAvx() ? RunBiquadsInEights : RunBiquadsInFours;
}

}  // namespace quorvel
