// A follower with one time constant for rising and one for falling input.
#pragma once

#include "dsp/dynamics/envelope_detector.h"
#include "platform/real_time.h"

namespace quorvel::dynamics {

class AttRelEnvelope {
  public:
    AttRelEnvelope(double attackMs, double releaseMs, double hertz);

    virtual ~AttRelEnvelope();

    // Time constants in milliseconds, at least 1.0 (EnvelopeDetector::SetTimeConstant).
    virtual void SetAttack(double ms);
    virtual double GetAttack() const;
    virtual void SetRelease(double ms);
    virtual double GetRelease() const;

    // Sample rate in Hz, of both followers.
    virtual void SetSampleRate(double hertz);
    virtual double GetSampleRate() const;

    // One sample: `state` follows `input`, with the attack coefficient when the input is above it.
    // A NaN is above nothing. Real-time.
    void Run(double input, double& state) const QUORVEL_REAL_TIME {
        const double coefficient = input > state ? attack.Coefficient() : release.Coefficient();
        state = input + coefficient * (state - input);
    }

    double AttackCoefficient() const { return attack.Coefficient(); }
    double ReleaseCoefficient() const { return release.Coefficient(); }

  protected:
    EnvelopeDetector attack;
    EnvelopeDetector release;
};

}  // namespace quorvel::dynamics
