#include "dsp/dynamics/simple_gate_rms.h"

namespace quorvel::dynamics {

SimpleGateRms::SimpleGateRms() : averager(5.0, 44100.0) {}

void SimpleGateRms::SetSampleRate(double hertz) {
    SimpleGate::SetSampleRate(hertz);
    averager.SetSampleRate(hertz);
}

void SimpleGateRms::ResetRuntime() {
    SimpleGate::ResetRuntime();
    meanOfSquares = kDcOffset;
}

void SimpleGateRms::SetWindow(double ms) {
    averager.SetTimeConstant(ms);
}

double SimpleGateRms::GetWindow() const {
    return averager.GetTimeConstant();
}

}  // namespace quorvel::dynamics
