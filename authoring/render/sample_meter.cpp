#include "authoring/render/sample_meter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "engine/sample_check.h"

namespace quorvel::tool {

// An integer maximum, which compilers vectorise.
void SampleMeter::Add(std::span<const float> samples, float loudest) {
    const std::uint32_t limit = MagnitudeBits(loudest);
    std::uint32_t highest = 0;
    for (const float sample : samples) {
        const std::uint32_t bits = MagnitudeBits(sample);
        highest = std::max(highest, bits <= limit ? bits : 0u);
    }
    peak = std::max(peak, std::bit_cast<float>(highest));
}

std::string SampleMeter::PeakText() const {
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f dB", 20.0 * std::log10(static_cast<double>(peak)));
    return text;
}

}  // namespace quorvel::tool
