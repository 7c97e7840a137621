// Bytes as hexadecimal digits, two a byte, without gaps.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::tool {

enum class HexCase { kSmall, kCapital };

std::string HexText(std::span<const std::uint8_t> bytes, HexCase letters = HexCase::kSmall);

// The bytes that `text` spells, digits of either case; none when it is odd or holds anything else.
std::optional<std::vector<std::uint8_t>> ParseHex(std::string_view text);

}  // namespace quorvel::tool
