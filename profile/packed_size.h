// Packed sizes, in bytes, and their arithmetic.
#pragma once

#include <algorithm>
#include <cstdint>

class QuorvelAudioBlocksChain;
class QuorvelAudioProfile;
struct QuorvelAudioBlocksChainsList;
struct QuorvelAudioBlocksLinksList;
struct QuorvelAudioBlocksList;

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

// What GetPackedSize of the same class tells: the size of a blocks section, of a links section, of
// a chain record, of all chain records. At most kPackedSizeLimit.
std::uint32_t PackedSize(const QuorvelAudioBlocksList& blocks);
std::uint32_t PackedSize(const QuorvelAudioBlocksLinksList& links);
std::uint32_t PackedSize(const QuorvelAudioBlocksChain& chain);
std::uint32_t PackedSize(const QuorvelAudioBlocksChainsList& chains);

// What GetStringsSize tells: the size of the zero-terminated paths, null entries left out.
std::uint32_t StringsSize(const QuorvelAudioProfile& profile);

}  // namespace quorvel
