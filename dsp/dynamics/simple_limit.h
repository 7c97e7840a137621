// A look-ahead peak limiter with a delay line a channel.
//
//     peak hold:  M    = the largest max(|x|, threshold) of late, held for the look-ahead
//     follower:   E    = M, followed with attack and release, 99 % of a step within the time
//     gain             = threshold / E
//     out[c]           = in[c], delayed by the look-ahead, * gain
//
// The look-ahead is the attack time: the gain is down before the peak leaves the delay line. A
// limiter that delays its audio is described for instance in Zölzer (ed.), "DAFX: Digital Audio
// Effects", 2nd edition (Wiley 2011), section 4.2.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/dynamics/envelope_detector.h"
#include "platform/real_time.h"

namespace quorvel::dynamics {

// Fresh: threshold 0 dB, attack 1 ms, release 10 ms, 44100 Hz, no channels.
//
// Threads: none of its own; setters and ProcessFrame must not overlap. SetAttack, SetSampleRate and
// SetChannelCount allocate; they zero the delay lines and start them afresh, but leave the gain
// as it is. None throws: when the lines cannot be had (memory, or one of the bounds below) there
// are none, and ProcessFrame refuses until a later call can build them.
class SimpleLimit {
  public:
    // A follower that covers 99 % of a step within its time constant:
    // coefficient = 0.01^(1000 / (ms * hertz)). A fresh one still has its base's slower
    // coefficient.
    class FastEnvelope : public EnvelopeDetector {
      public:
        using EnvelopeDetector::EnvelopeDetector;
        void UpdateCoefficient() override;
    };

    // Bounds against hostile records and formats: floats in all delay lines together (256 MiB), and
    // lines. A stereo attack may be eleven minutes at 48 kHz.
    static constexpr uint64_t kMostSamples = uint64_t{1} << 26;
    static constexpr uint32_t kMostChannels = 65536;

    SimpleLimit();

    virtual ~SimpleLimit();

    virtual void SetThreshold(double dB);

    // Attack time and look-ahead in milliseconds, at least 1.0. The look-ahead is cut down to whole
    // samples; a rate that makes it less than one sample, or one that needs a line of more than
    // 2^31 samples, leaves no buffer (latency then is 0 or at most 2^32 - 1).
    virtual void SetAttack(double ms);

    // Release time in milliseconds, at least 1.0.
    virtual void SetRelease(double ms);

    virtual double GetThreshold() const;  // dB
    virtual double GetAttack() const;     // ms, as accepted
    virtual double GetRelease() const;    // ms, as accepted

    // The look-ahead in samples.
    virtual uint32_t GetLatency() const;

    virtual void SetSampleRate(double hertz);
    virtual double GetSampleRate() const;

    // Lets go of the peak held, of the gain and of the audio in the delay lines.
    virtual void ResetRuntime();

    // The same, but back to the gain of a fresh one, whatever the threshold. Real-time.
    void StartAfresh() QUORVEL_REAL_TIME;

    // Builds a delay line for each of `count` channels.
    void SetChannelCount(uint32_t count);

    // Whether there is a buffer, and a delay line for each of `channels` channels. Real-time.
    bool IsReady(uint32_t channels) const QUORVEL_REAL_TIME {
        return bufferSize != 0 && delayLines.size() == channels;
    }

    // One frame of `channels` samples; `input` and `output` may be the same. Leaves `output`
    // unwritten and its own state untouched unless IsReady(channels). Real-time.
    void ProcessFrame(const float* input, float* output, uint32_t channels) QUORVEL_REAL_TIME;

    // The leading ones of `frames` frames, as many as make whole vectors, with the bits of
    // ProcessFrame; returns how many those are: 0 too where there is no kernel for the width or for
    // a look-ahead of few samples, and where ProcessFrame refuses. Real-time.
    int32_t ProcessWholeVectors(const float* input, float* output, int32_t frames,
                                uint32_t channels) QUORVEL_REAL_TIME;

    // The gain's state, for comparisons: the envelope of the held peak.
    double Envelope() const { return envelope; }

    // Samples of one delay line: a power of two not below the latency, or 0.
    uint32_t BufferSize() const { return bufferSize; }

    // The delay line of `channel`; throws std::out_of_range("invalid vector<T> subscript") when
    // there is none.
    const std::vector<float>& DelayLine(uint32_t channel) const;

  protected:
    static constexpr double kFreshLevel = 1.0;  // linear

    double thresholdDb = 0.0;
    double threshold = 1.0;        // the same, linear
    uint32_t peakHold = 0;         // samples; also the look-ahead
    uint32_t peakTimer = 0;        // samples since the held peak was taken
    double maxPeak = kFreshLevel;  // the held peak
    FastEnvelope attack;
    FastEnvelope release;
    double envelope = kFreshLevel;  // of the held peak
    uint32_t bufferSize = 1024;     // samples a delay line; a power of two, or 0
    uint32_t mask = 1023;           // bufferSize - 1
    uint32_t cursor = 0;            // where the next sample goes
    std::vector<std::vector<float>> delayLines;
    double attackMs = 1.0;
    uint32_t channelCount = 0;

  private:
    // Makes channelCount zeroed delay lines of bufferSize samples, or none.
    void BuildDelayLines() noexcept;

    // The gain for a frame whose largest absolute sample is `peak`.
    double ComputeGain(double peak) QUORVEL_REAL_TIME;
};

}  // namespace quorvel::dynamics
