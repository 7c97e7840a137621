#include "tools/sample_meter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

#include "engine/decibels.h"

namespace quorvel::tool {
namespace {

// Without its sign a float orders like the integer of the same bits; infinities and NaNs come last.
constexpr std::int32_t kWithoutSign = 0x7FFFFFFF;
constexpr std::int32_t kInfinity = 0x7F800000;

// An integer maximum, which compilers vectorise.
std::int32_t HighestBits(std::span<const float> samples) {
    std::int32_t highest = 0;
    for (const float sample : samples)
        highest = std::max(highest, std::bit_cast<std::int32_t>(sample) & kWithoutSign);
    return highest;
}

void Warn(const SampleMeter& meter, const char* which, const char* consequence) {
    if (meter.NonFinite() == 0) return;
    std::fprintf(stderr, "quorvel: %llu samples of the %s are not finite%s\n",
                 static_cast<unsigned long long>(meter.NonFinite()), which, consequence);
}

}  // namespace

void SampleMeter::Add(std::span<const float> samples) {
    const std::int32_t highest = HighestBits(samples);
    if (highest < kInfinity) {
        peak = std::max(peak, std::bit_cast<float>(highest));
        return;
    }
    for (const float sample : samples) {
        if (std::isfinite(sample)) {
            peak = std::max(peak, std::abs(sample));
        } else {
            ++nonFinite;
        }
    }
}

void SampleMeter::AddAndClean(std::span<float> samples) {
    const std::uint64_t before = nonFinite;
    Add(samples);
    if (nonFinite == before) return;
    std::replace_if(
        samples.begin(), samples.end(), [](float sample) { return !std::isfinite(sample); }, 0.0f);
}

std::string SampleMeter::PeakText() const {
    char text[32];
    std::snprintf(text, sizeof(text), "%.2f dB", 20.0 * std::log10(static_cast<double>(peak)));
    return text;
}

void WarnOfNonFinite(const SampleMeter& input, const SampleMeter& output) {
    Warn(input, "input", "; they were replaced by silence");
    Warn(output, "output", "");
}

}  // namespace quorvel::tool
