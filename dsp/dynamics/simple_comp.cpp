#include "dsp/dynamics/simple_comp.h"

namespace quorvel::dynamics {

SimpleComp::SimpleComp() : AttRelEnvelope(10.0, 100.0, 44100.0) {}

void SimpleComp::SetThreshold(double dB) {
    thresholdDb = dB;
}

void SimpleComp::SetRatio(double slope) {
    ratio = slope <= 0.0 ? 1.0 : slope;
}

double SimpleComp::GetThreshold() const {
    return thresholdDb;
}

double SimpleComp::GetRatio() const {
    return ratio;
}

void SimpleComp::ResetRuntime() {
    envelopeDb = kDcOffset;
}

}  // namespace quorvel::dynamics
