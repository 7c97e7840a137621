#include "engine/input_scan.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "platform/random.h"

namespace quorvel {
namespace {

// Whether the samples at each position of a period of `kPeriod` samples hold a signal. A period is
// a whole number of frames and of vector registers, so that the inner loop vectorises for any
// width.
template <int kPeriod>
void MarkSignal(const float* samples, int64_t count, std::array<uint32_t, 56>& hasSignal) {
    int64_t start = 0;
    for (; start + kPeriod <= count; start += kPeriod) {
        for (int i = 0; i < kPeriod; ++i) {
            hasSignal[static_cast<std::size_t>(i)] |=
                std::fabs(samples[start + i]) > kSignalThreshold ? ~0u : 0u;
        }
    }
    for (int64_t i = start; i < count; ++i) {
        if (std::fabs(samples[i]) > kSignalThreshold) {
            hasSignal[static_cast<std::size_t>(i - start)] = ~0u;
        }
    }
}

using MarkSignalFunction = void (*)(const float*, int64_t, std::array<uint32_t, 56>&);

// By channel count: the smallest common multiple of the width and eight lanes.
struct Period {
    int length;
    MarkSignalFunction mark;
};
constexpr std::array<Period, 9> kPeriodOfWidth = {{
    {0, nullptr},
    {8, MarkSignal<8>},
    {8, MarkSignal<8>},
    {24, MarkSignal<24>},
    {8, MarkSignal<8>},
    {40, MarkSignal<40>},
    {24, MarkSignal<24>},
    {56, MarkSignal<56>},
    {8, MarkSignal<8>},
}};

}  // namespace

void InputScan::SetMask(uint32_t mask) {
    channelBits.fill(0);
    std::size_t channel = 0;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        if (mask & bit) channelBits[channel++] = bit;
    }
    for (std::size_t i = 0; i < noise.size(); ++i) {
        const auto drawn = static_cast<float>(platform::Rand() % 10922);
        noise[i] = (i % 2 == 1 ? -drawn : drawn) / 10922.667f * 9.1552734e-05f;
    }
}

uint32_t InputScan::Run(float* samples, int32_t frames, int32_t channels) const QUORVEL_REAL_TIME {
    const uint32_t mask = MaskOf(samples, frames, channels);
    if (noiseEnabled) AddNoise(samples, int64_t{frames} * channels);
    return mask;
}

uint32_t InputScan::MaskOf(const float* samples, int32_t frames, int32_t channels) const {
    uint32_t mask = 0;
    const int64_t count = int64_t{frames} * channels;
    if (channels > 0 && static_cast<std::size_t>(channels) < kPeriodOfWidth.size()) {
        const Period& period = kPeriodOfWidth[static_cast<std::size_t>(channels)];
        std::array<uint32_t, 56> hasSignal{};
        period.mark(samples, count, hasSignal);
        for (std::size_t i = 0; i < static_cast<std::size_t>(period.length); ++i) {
            mask |= hasSignal[i] & channelBits[i % static_cast<std::size_t>(channels)];
        }
        return mask;
    }
    for (int64_t i = 0; i < count; ++i) {
        const auto channel = static_cast<std::size_t>(i % channels);
        const bool isSignal = std::fabs(samples[i]) > kSignalThreshold;
        if (isSignal && channel < channelBits.size()) mask |= channelBits[channel];
    }
    return mask;
}

void InputScan::AddNoise(float* samples, int64_t count) const {
    for (int64_t i = 0; i < count; ++i) {
        const float x = samples[i];
        if (x == 0.0f || std::fabs(x) > kSignalThreshold) {
            samples[i] = x + noise[static_cast<std::size_t>(platform::Rand() & 15)];
        }
    }
}

}  // namespace quorvel
