// The settings of a gate that follows the mean of squares.
#pragma once

#include "dsp/dynamics/simple_gate.h"

namespace quorvel::dynamics {

// No block runs one, so there is no step beyond SimpleGate's. Fresh: a window of 5 ms.
class SimpleGateRms : public SimpleGate {
  public:
    SimpleGateRms();

    // Also the averager's rate, and also its state.
    void SetSampleRate(double hertz) override;
    void ResetRuntime() override;

    // Time constant of the average in milliseconds, at least 1.0.
    virtual void SetWindow(double ms);
    virtual double GetWindow() const;

    double MeanOfSquares() const { return meanOfSquares; }

  protected:
    EnvelopeDetector averager;
    double meanOfSquares = kDcOffset;
};

}  // namespace quorvel::dynamics
