// The peak of a signal, and samples that are not finite.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quorvel::tool {

class SampleMeter {
  public:
    // Takes in the samples; what is not finite (NaN, infinite) is counted and left out of the peak.
    void Add(std::span<const float> samples);

    // The same, and replaces what is not finite by 0.
    void AddAndClean(std::span<float> samples);

    float Peak() const { return peak; }
    std::uint64_t NonFinite() const { return nonFinite; }

    // "-3.01 dB" of full scale, "-inf dB" for silence.
    std::string PeakText() const;

  private:
    float peak = 0.0f;
    std::uint64_t nonFinite = 0;
};

// Warns on standard error of samples that are not finite, of an input that was cleaned of them and
// of the output made of it.
void WarnOfNonFinite(const SampleMeter& input, const SampleMeter& output);

}  // namespace quorvel::tool
