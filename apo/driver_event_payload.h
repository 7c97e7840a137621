// The payloads of the driver's events, which need not be aligned.
#pragma once

#include <cstddef>
#include <cstring>

namespace quorvel {

// Where the fields are, in bytes from the start.
namespace payload {
inline constexpr std::size_t kProfileId = 0;       // events about profiles, blocks and links
inline constexpr std::size_t kBlockId = 24;        // events about blocks; of a link its source
inline constexpr std::size_t kDestinationId = 40;  // events about links
inline constexpr std::size_t kChainId = 56;        // events about blocks and links, 32 bits
}  // namespace payload

template <typename Field>
Field ReadPayload(const void* data, std::size_t offset) {
    Field field;
    std::memcpy(&field, static_cast<const std::byte*>(data) + offset, sizeof(field));
    return field;
}

}  // namespace quorvel
