// Comparing samples bit for bit. Zeros differ by their sign; any NaN equals any other.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace quorvel::test {

inline bool SameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

inline bool SameBits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

inline void ExpectSameBits(const std::vector<float>& actual, const std::vector<float>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_TRUE(SameBits(actual[i], expected[i]))
            << "sample " << i << ": " << actual[i] << " instead of " << expected[i];
    }
}

}  // namespace quorvel::test
