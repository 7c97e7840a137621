#include "blocks/biquad_kernels.h"

#include "platform/processor.h"

namespace quorvel {

BiquadKernel ChooseBiquadKernel() {
    return platform::ProcessorHasAvx() ? RunBiquadsInEights : RunBiquadsInFours;
}

}  // namespace quorvel
