// The peak of a signal.
#pragma once

#include <limits>
#include <span>
#include <string>

namespace quorvel::tool {

class SampleMeter {
  public:
    // Takes in the samples. Infinities, NaNs and what is above `loudest` in magnitude are left out.
    void Add(std::span<const float> samples, float loudest = std::numeric_limits<float>::max());

    float Peak() const { return peak; }

    // "-3.01 dB" of full scale, "-inf dB" for silence.
    std::string PeakText() const;

  private:
    float peak = 0.0f;
};

}  // namespace quorvel::tool
