// Arithmetic of packed sizes.
#pragma once

#include <algorithm>
#include <cstdint>

namespace quorvel {

// A size that no record can have: sums and products stop here instead of wrapping.
inline constexpr std::uint32_t kPackedSizeLimit = UINT32_MAX;

constexpr std::uint32_t SaturatePackedSize(std::uint64_t size) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, kPackedSizeLimit));
}

// a + b, at most kPackedSizeLimit.
constexpr std::uint32_t AddPackedSizes(std::uint32_t a, std::uint32_t b) {
    return SaturatePackedSize(std::uint64_t{a} + b);
}

}  // namespace quorvel
