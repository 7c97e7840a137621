#include "profile/base64.h"

#include <array>
#include <string_view>

namespace quorvel {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';

// Has a bit that no value of a character of the alphabet has.
constexpr std::uint32_t kForeign = 0x80;

constexpr auto kValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(kForeign);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        values[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    return values;
}();

constexpr std::uint32_t Value(char character) {
    return kValues[static_cast<std::uint8_t>(character)];
}

constexpr char Character(std::uint32_t bits) {
    return kAlphabet[bits & 0x3F];
}

// The last one or two bytes.
void EncodeRest(std::span<const std::byte> bytes, char* text) {
    const auto first = std::to_integer<std::uint32_t>(bytes[0]);
    const auto second = bytes.size() > 1 ? std::to_integer<std::uint32_t>(bytes[1]) : 0u;
    const std::uint32_t bits = first << 16 | second << 8;
    text[0] = Character(bits >> 18);
    text[1] = Character(bits >> 12);
    text[2] = bytes.size() > 1 ? Character(bits >> 6) : kPadding;
    text[3] = kPadding;
}

// The characters before the first foreign one, at most three.
std::size_t DecodeRest(std::span<const char> text, std::byte* bytes) {
    std::uint32_t bits = 0;
    std::size_t characters = 0;
    for (; characters < text.size() && characters < 3; ++characters) {
        const std::uint32_t value = Value(text[characters]);
        if (value == kForeign) break;
        bits |= value << (18 - 6 * characters);
    }
    if (characters >= 2) bytes[0] = static_cast<std::byte>(bits >> 16);
    if (characters == 3) bytes[1] = static_cast<std::byte>(bits >> 8);
    return characters < 2 ? 0 : characters - 1;
}

}  // namespace

void EncodeBase64(std::span<const std::byte> bytes, char* text) {
    const std::size_t whole = bytes.size() / 3 * 3;
    for (std::size_t i = 0; i < whole; i += 3, text += 4) {
        const std::uint32_t bits = std::to_integer<std::uint32_t>(bytes[i]) << 16 |
                                   std::to_integer<std::uint32_t>(bytes[i + 1]) << 8 |
                                   std::to_integer<std::uint32_t>(bytes[i + 2]);
        text[0] = Character(bits >> 18);
        text[1] = Character(bits >> 12);
        text[2] = Character(bits >> 6);
        text[3] = Character(bits);
    }
    if (whole < bytes.size()) EncodeRest(bytes.subspan(whole), text);
}

std::size_t DecodeBase64(std::span<const char> text, std::byte* bytes) {
    std::byte* out = bytes;
    std::size_t i = 0;
    for (; text.size() - i >= 4; i += 4, out += 3) {
        const std::uint32_t a = Value(text[i]);
        const std::uint32_t b = Value(text[i + 1]);
        const std::uint32_t c = Value(text[i + 2]);
        const std::uint32_t d = Value(text[i + 3]);
        if (((a | b | c | d) & kForeign) != 0) break;
        const std::uint32_t bits = a << 18 | b << 12 | c << 6 | d;
        out[0] = static_cast<std::byte>(bits >> 16);
        out[1] = static_cast<std::byte>(bits >> 8);
        out[2] = static_cast<std::byte>(bits);
    }
    out += DecodeRest(text.subspan(i), out);
    return static_cast<std::size_t>(out - bytes);
}

}  // namespace quorvel
