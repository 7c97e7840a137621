// The coefficient of a one-pole follower.
#pragma once

namespace quorvel::dynamics {

// A one-pole follower moves from `state` towards `input` with each sample:
//
//     state = input + coefficient * (state - input),   coefficient = exp(-1000 / (ms * hertz))
//
// After a step it has covered 1 - 1/e (63 %) of the way when the time constant has passed. This is
// the usual discrete smoother of dynamics processors, for instance in Giannoulis, Massberg and
// Reiss, "Digital Dynamic Range Compressor Design", J. Audio Eng. Soc. 60 (2012).
//
// The class holds the coefficient; the state belongs to its user. Setters take any value that a
// hostile record or format could bring: a rate of 0 gives the coefficient 0 (no smoothing), a
// negative rate one above 1 (the follower runs away from its input).
class EnvelopeDetector {
  public:
    EnvelopeDetector(double ms, double hertz);

    virtual ~EnvelopeDetector();

    // Time constant in milliseconds; below 1.0 it becomes 1.0.
    virtual void SetTimeConstant(double ms);
    virtual double GetTimeConstant() const;

    virtual void SetSampleRate(double hertz);
    virtual double GetSampleRate() const;

    // Computes the coefficient again; the setters call it.
    virtual void UpdateCoefficient();

    double Coefficient() const { return coefficient; }

  protected:
    double sampleRate = 0.0;      // Hz
    double timeConstantMs = 1.0;  // at least 1.0
    double coefficient = 0.0;     // of the previous state, per sample
};

}  // namespace quorvel::dynamics
