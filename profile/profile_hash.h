// The checksum of a profile record in the text form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel {

// The polynomial hash h = h × 101 + b over the bytes in order, from h = 0. A byte counts as a
// signed number (0x80 to 0xFF are -128 to -1); everything is modulo 2^32. It guards against damage,
// not against intent.
std::uint32_t HashProfile(std::span<const std::byte> record);

// The same by its definition, a byte at a time: the reference for tests and benches.
std::uint32_t HashProfilePlainly(std::span<const std::byte> record);

}  // namespace quorvel
