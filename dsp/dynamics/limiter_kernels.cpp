#include "dsp/dynamics/limiter_kernels.h"

#include "platform/processor.h"

namespace quorvel::dynamics {

LimiterKernel ChooseLimiterKernel() QUORVEL_REAL_TIME {
    return platform::ProcessorHasAvx2() ? RunLimiterInFours : RunLimiterInTwos;
}

}  // namespace quorvel::dynamics
