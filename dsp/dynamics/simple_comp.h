// A peak compressor: feed-forward, in the logarithmic domain, without knee and make-up gain.
//
//     over  = max(20 log10(key) - threshold, 0)     dB above the threshold
//     E     = over, followed with attack and release
//     gain  = (ratio - 1) * E                       dB
//
// This is the log-domain detector of Giannoulis, Massberg and Reiss, "Digital Dynamic Range
// Compressor Design", J. Audio Eng. Soc. 60 (2012). The ratio is the slope of the output level
// above the threshold: 1.0 changes nothing, 0.1 is a compression of 10 : 1, above 1 expands.
#pragma once

#include "dsp/dynamics/attack_release_envelope.h"
#include "dsp/dynamics/decibels.h"

namespace quorvel::dynamics {

// Fresh: attack 10 ms, release 100 ms, 44100 Hz, threshold 0 dB, ratio 1.
//
// Threads: none of its own; setters and ComputeGain must not overlap. Nothing allocates.
class SimpleComp : public AttRelEnvelope {
  public:
    SimpleComp();

    virtual void SetThreshold(double dB);
    // Output slope above the threshold; 0.0 and below become 1.0.
    virtual void SetRatio(double slope);
    virtual double GetThreshold() const;
    virtual double GetRatio() const;

    // Forgets the level followed so far.
    virtual void ResetRuntime();

    // The linear gain for one frame whose largest absolute sample is `key` (0 or above). Real-time.
    double ComputeGain(double key) QUORVEL_REAL_TIME {
        Run(LevelOver(key), envelopeDb);
        return DecibelsToLinear(GainDb());
    }

    // The steps of ComputeGain, for those who run many frames at once.

    // How far `key` is above the threshold, in dB, as the envelope follows it.
    double LevelOver(double key) const QUORVEL_REAL_TIME {
        const double overDb = LinearToDecibels(key + kDcOffset) - thresholdDb;
        return (overDb < 0.0 ? 0.0 : overDb) + kDcOffset;
    }

    // The gain in dB that the envelope asks for.
    double GainDb() const QUORVEL_REAL_TIME { return (ratio - 1.0) * (envelopeDb - kDcOffset); }

    double Envelope() const { return envelopeDb; }
    void SetEnvelope(double dB) { envelopeDb = dB; }

  protected:
    double thresholdDb = 0.0;
    double ratio = 1.0;
    double envelopeDb = kDcOffset;  // dB above the threshold
};

}  // namespace quorvel::dynamics
