#include "dsp/biquad/biquad_passes.h"

namespace quorvel {

void RunBiquadsInFours(const BiquadRun& run) QUORVEL_REAL_TIME {
    if (run.frames < kFewestFrames<FourLanes>) return RunBiquadsPlain(run);
    RunInVectors<FourLanes>(run);
}

}  // namespace quorvel
