#include "dsp/dynamics/compressor_kernels.h"

#include "platform/processor.h"

namespace quorvel::dynamics {

CompressorKernel ChooseCompressorKernel() QUORVEL_REAL_TIME {
    return platform::ProcessorHasAvx2() ? RunCompressorInFours : RunCompressorInTwos;
}

}  // namespace quorvel::dynamics
