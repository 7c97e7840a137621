#include "dsp/dynamics/simple_gate.h"

namespace quorvel::dynamics {

SimpleGate::SimpleGate() : AttRelEnvelope(1.0, 100.0, 44100.0) {}

void SimpleGate::SetThreshold(double dB) {
    thresholdDb = dB;
    threshold = DecibelsToLinear(dB);
}

double SimpleGate::GetThreshold() const {
    return thresholdDb;
}

void SimpleGate::ResetRuntime() {
    envelope = kDcOffset;
}

}  // namespace quorvel::dynamics
