#include "dsp/dynamics/simple_limit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <stdexcept>

#include "base/math/power.h"
#include "base/memory_shortage.h"
#include "dsp/dynamics/decibels.h"

namespace quorvel::dynamics {
namespace {

// `samples` cut down to an integer; 0 for a NaN and for less than one sample, at most 2^32 - 1.
uint32_t WholeSamples(double samples) {
    if (!(samples >= 1.0)) return 0;
    return samples >= 4294967295.0 ? UINT32_MAX : static_cast<uint32_t>(samples);
}

// The smallest power of two not below `samples`; 0 for 0 and when 32 bits cannot hold it.
uint32_t PowerOfTwoFor(uint32_t samples) {
    constexpr uint32_t kLargest = uint32_t{1} << 31;
    return samples == 0 || samples > kLargest ? 0 : std::bit_ceil(samples);
}

}  // namespace

void SimpleLimit::FastEnvelope::UpdateCoefficient() {
    coefficient = math::Pow(0.01, 1000.0 / (timeConstantMs * sampleRate));
}

SimpleLimit::SimpleLimit() : attack(1.0, 44100.0), release(10.0, 44100.0) {
    SimpleLimit::SetAttack(1.0);
}

SimpleLimit::~SimpleLimit() = default;

void SimpleLimit::SetThreshold(double dB) {
    thresholdDb = dB;
    threshold = DecibelsToLinear(dB);
}

void SimpleLimit::SetAttack(double ms) {
    if (ms < 1.0) ms = 1.0;
    const uint32_t hold = WholeSamples(ms * 0.001 * attack.GetSampleRate());
    bufferSize = PowerOfTwoFor(hold);
    mask = bufferSize - 1;
    BuildDelayLines();
    peakHold = hold;
    attackMs = ms;
    attack.SetTimeConstant(ms);
}

void SimpleLimit::SetRelease(double ms) {
    release.SetTimeConstant(ms < 1.0 ? 1.0 : ms);
}

double SimpleLimit::GetThreshold() const {
    return thresholdDb;
}

double SimpleLimit::GetAttack() const {
    return attackMs;
}

double SimpleLimit::GetRelease() const {
    return release.GetTimeConstant();
}

uint32_t SimpleLimit::GetLatency() const {
    return peakHold;
}

void SimpleLimit::SetSampleRate(double hertz) {
    attack.SetSampleRate(hertz);
    SetAttack(attackMs);
    release.SetSampleRate(hertz);
}

double SimpleLimit::GetSampleRate() const {
    return attack.GetSampleRate();
}

void SimpleLimit::ResetRuntime() {
    peakTimer = 0;
    maxPeak = threshold;
    envelope = threshold;
    cursor = 0;
    for (std::vector<float>& line : delayLines)
        std::ranges::fill(line, 0.0f);
}

void SimpleLimit::StartAfresh() QUORVEL_REAL_TIME {
    SimpleLimit::ResetRuntime();
    maxPeak = envelope = kFreshLevel;
}

void SimpleLimit::SetChannelCount(uint32_t count) {
    channelCount = count;
    BuildDelayLines();
}

void SimpleLimit::BuildDelayLines() noexcept {
    cursor = 0;
    const bool bounded =
        channelCount <= kMostChannels && uint64_t{channelCount} * bufferSize <= kMostSamples;
    try {
        delayLines.resize(bounded ? channelCount : 0);
        for (std::vector<float>& line : delayLines)
            line.assign(bufferSize, 0.0f);
    } catch (const std::bad_alloc&) {
        NoteMemoryShortage();
        delayLines.clear();
    }
}

const std::vector<float>& SimpleLimit::DelayLine(uint32_t channel) const {
    if (channel >= delayLines.size()) throw std::out_of_range("invalid vector<T> subscript");
    return delayLines[channel];
}

double SimpleLimit::ComputeGain(double peak) QUORVEL_REAL_TIME {
    const double key = std::max(peak, threshold);
    ++peakTimer;
    if (peakTimer >= peakHold || key > maxPeak) {
        peakTimer = 0;
        maxPeak = key;
    }
    const FastEnvelope& follower = maxPeak > envelope ? attack : release;
    envelope = maxPeak + follower.Coefficient() * (envelope - maxPeak);
    return threshold / envelope;
}

void SimpleLimit::ProcessFrame(const float* input, float* output,
                               uint32_t channels) QUORVEL_REAL_TIME {
    if (!IsReady(channels)) return;
    double peak = 0.0;
    for (uint32_t c = 0; c < channels; ++c) {
        const double magnitude = std::fabs(static_cast<double>(input[c]));
        if (magnitude > peak) peak = magnitude;
    }
    const double gain = ComputeGain(peak);
    const uint32_t oldest = (cursor - peakHold) & mask;
    for (uint32_t c = 0; c < channels; ++c) {
        std::vector<float>& line = delayLines[c];
        const float delayed = line[oldest];
        line[cursor] = input[c];
        output[c] = static_cast<float>(static_cast<double>(delayed) * gain);
    }
    cursor = (cursor + 1) & mask;
}

}  // namespace quorvel::dynamics
