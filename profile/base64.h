// Base64 with the standard alphabet (RFC 4648, section 4), without line breaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel {

// Characters that `bytes` bytes become, "=" padding included. 64 bits, as it may exceed the address
// space of a 32-bit program.
constexpr std::uint64_t Base64Length(std::uint64_t bytes) {
    return (bytes + 2) / 3 * 4;
}

// Bytes that `characters` characters become at most.
constexpr std::size_t Base64Capacity(std::size_t characters) {
    return characters / 4 * 3 + characters % 4 * 3 / 4;
}

// Writes Base64Length(bytes.size()) characters to `text`, without a terminator.
void EncodeBase64(std::span<const std::byte> bytes, char* text);

// Decodes up to the first "=" or the first character outside the alphabet; what follows is
// ignored. A final group of two or three characters gives one or two bytes, a single character
// none. `bytes` has room for Base64Capacity(text.size()). Returns the number of bytes.
std::size_t DecodeBase64(std::span<const char> text, std::byte* bytes);

}  // namespace quorvel
