// Compiled for AVX2 on x86. Nothing but the function below may leave this file.
#include "dsp/dynamics/limiter_lanes.h"

namespace quorvel::dynamics {

int32_t RunLimiterInFours(LimiterRun& run) QUORVEL_REAL_TIME {
    return RunLimiterInLanes<math::FourNumbers>(run);
}

}  // namespace quorvel::dynamics
