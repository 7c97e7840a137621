// Compiled for AVX on x86. Nothing but the function below may leave this file.
#include "dsp/biquad/biquad_passes.h"

namespace quorvel {

void RunBiquadsInEights(const BiquadRun& run) QUORVEL_REAL_TIME {
    if (run.frames < kFewestFrames<EightLanes>) return RunBiquadsInFours(run);
    RunInVectors<EightLanes>(run);
}

}  // namespace quorvel
