// A gate: open while the key is above the threshold, closed otherwise.
//
//     k    = key > threshold ? 1 : 0
//     gain = k, followed with attack (opening) and release (closing)
#pragma once

#include "dsp/dynamics/attack_release_envelope.h"
#include "dsp/dynamics/decibels.h"

namespace quorvel::dynamics {

// Fresh: closed; attack 1 ms, release 100 ms, 44100 Hz, threshold 0 dB.
//
// Threads: none of its own; setters and ComputeGain must not overlap. Nothing allocates.
class SimpleGate : public AttRelEnvelope {
  public:
    SimpleGate();

    virtual void SetThreshold(double dB);
    virtual double GetThreshold() const;  // dB

    // Closes the gate at once.
    virtual void ResetRuntime();

    // The linear gain for one frame whose largest absolute sample is `key` (0 or above). A key
    // equal to the threshold does not open. Real-time.
    double ComputeGain(double key) QUORVEL_REAL_TIME {
        Run(Aim(key), envelope);
        return Gain();
    }

    // The steps of ComputeGain, for those who run many frames at once.

    // What the envelope follows: 1 for open, 0 for closed.
    double Aim(double key) const QUORVEL_REAL_TIME {
        return (key > threshold ? 1.0 : 0.0) + kDcOffset;
    }

    double Gain() const QUORVEL_REAL_TIME { return envelope - kDcOffset; }

    double LinearThreshold() const { return threshold; }
    double Envelope() const { return envelope; }
    void SetEnvelope(double value) { envelope = value; }

  protected:
    double thresholdDb = 0.0;
    double threshold = 1.0;       // the same, linear
    double envelope = kDcOffset;  // the gain
};

}  // namespace quorvel::dynamics
