// Comparing samples bit for bit.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace quorvel::dynamics {

// Whether two numbers are the same bits; any NaN equals any other.
inline bool SameBits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

inline bool SameBits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

}  // namespace quorvel::dynamics
