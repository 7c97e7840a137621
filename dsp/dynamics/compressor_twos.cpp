#include "dsp/dynamics/compressor_lanes.h"

namespace quorvel::dynamics {

int32_t RunCompressorInTwos(CompressorRun& run) QUORVEL_REAL_TIME {
    return RunCompressorInLanes<math::TwoNumbers>(run);
}

}  // namespace quorvel::dynamics
