#include "authoring/document/hex_text.h"

namespace quorvel::tool {
namespace {

constexpr int kNoDigit = -1;

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return kNoDigit;
}

}  // namespace

std::string HexText(std::span<const std::uint8_t> bytes, HexCase letters) {
    const char* digits = letters == HexCase::kSmall ? "0123456789abcdef" : "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> ParseHex(std::string_view text) {
    if (text.size() % 2 != 0) return {};
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = DigitValue(text[i]);
        const int low = DigitValue(text[i + 1]);
        if (high == kNoDigit || low == kNoDigit) return {};
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return bytes;
}

}  // namespace quorvel::tool
