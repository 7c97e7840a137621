// Samples for the tests of the routing blocks, and their comparison bit for bit.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace quorvel {

constexpr float kUntouched = 12345.0f;

// Samples of all magnitudes, among them every special value.
inline std::vector<float> RandomSamples(std::size_t count, uint32_t seed) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr std::array kSpecial = {-0.0f,     0.0f,       1e-42f, -1e-42f,
                                     kInfinity, -kInfinity, NAN,    3e38f};
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-12, 12), dice(0, 63);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        const int roll = dice(random);
        sample = roll < 8 ? kSpecial[static_cast<std::size_t>(roll)]
                          : std::ldexp(mantissa(random), exponent(random));
    }
    return samples;
}

// The same numbers, zeros with the same sign; any NaN equals any NaN.
inline void ExpectSameBits(const std::vector<float>& actual, const std::vector<float>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isnan(actual[i]) && std::isnan(expected[i])) continue;
        ASSERT_EQ(std::bit_cast<uint32_t>(actual[i]), std::bit_cast<uint32_t>(expected[i]))
            << "sample " << i << ": " << actual[i] << " instead of " << expected[i];
    }
}

// Untouched samples with the given ones at their head: an input in a buffer with room for more.
inline std::vector<float> WithRoom(const std::vector<float>& head, std::size_t size) {
    std::vector<float> samples(std::max(size, head.size()), kUntouched);
    std::copy(head.begin(), head.end(), samples.begin());
    return samples;
}

}  // namespace quorvel
