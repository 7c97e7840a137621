#include "dsp/dynamics/envelope_detector.h"

#include "base/math/exponential.h"

namespace quorvel::dynamics {

EnvelopeDetector::EnvelopeDetector(double ms, double hertz)
    : sampleRate(hertz), timeConstantMs(ms) {
    EnvelopeDetector::UpdateCoefficient();
}

EnvelopeDetector::~EnvelopeDetector() = default;

void EnvelopeDetector::SetTimeConstant(double ms) {
    timeConstantMs = ms < 1.0 ? 1.0 : ms;
    UpdateCoefficient();
}

double EnvelopeDetector::GetTimeConstant() const {
    return timeConstantMs;
}

void EnvelopeDetector::SetSampleRate(double hertz) {
    sampleRate = hertz;
    UpdateCoefficient();
}

double EnvelopeDetector::GetSampleRate() const {
    return sampleRate;
}

void EnvelopeDetector::UpdateCoefficient() {
    coefficient = math::Exp(-1000.0 / (timeConstantMs * sampleRate));
}

}  // namespace quorvel::dynamics
