#include "dsp/dynamics/limiter_lanes.h"

namespace quorvel::dynamics {

int32_t RunLimiterInTwos(LimiterRun& run) QUORVEL_REAL_TIME {
    return RunLimiterInLanes<math::TwoNumbers>(run);
}

}  // namespace quorvel::dynamics
