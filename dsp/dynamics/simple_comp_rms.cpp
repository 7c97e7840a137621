#include "dsp/dynamics/simple_comp_rms.h"

namespace quorvel::dynamics {

SimpleCompRms::SimpleCompRms() : averager(5.0, 44100.0) {}

void SimpleCompRms::SetSampleRate(double hertz) {
    SimpleComp::SetSampleRate(hertz);
    averager.SetSampleRate(hertz);
}

void SimpleCompRms::ResetRuntime() {
    SimpleComp::ResetRuntime();
    meanOfSquares = kDcOffset;
}

void SimpleCompRms::SetWindow(double ms) {
    averager.SetTimeConstant(ms);
}

double SimpleCompRms::GetWindow() const {
    return averager.GetTimeConstant();
}

}  // namespace quorvel::dynamics
