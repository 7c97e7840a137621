// Compiled for AVX2 on x86. Nothing but the function below may leave this file.
#include "dsp/dynamics/compressor_lanes.h"

namespace quorvel::dynamics {

int32_t RunCompressorInFours(CompressorRun& run) QUORVEL_REAL_TIME {
    return RunCompressorInLanes<math::FourNumbers>(run);
}

}  // namespace quorvel::dynamics
