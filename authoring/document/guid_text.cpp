#include "authoring/document/guid_text.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "authoring/document/hex_text.h"

namespace quorvel::tool {
namespace {

// Place in memory of the byte that each pair of digits spells: the first three fields are
// little-endian in memory and written as numbers.
constexpr std::array<std::size_t, 16> kByteOfPair = {3, 2, 1,  0,  5,  4,  7,  6,
                                                     8, 9, 10, 11, 12, 13, 14, 15};
constexpr std::size_t kTextLength = 36;

constexpr bool IsDashPlace(std::size_t i) {
    return i == 8 || i == 13 || i == 18 || i == 23;
}

}  // namespace

std::string GuidText(const GUID& guid) {
    std::array<std::uint8_t, 16> bytes{};
    std::memcpy(bytes.data(), &guid, bytes.size());
    std::array<std::uint8_t, 16> written{};
    for (std::size_t i = 0; i < written.size(); ++i)
        written[i] = bytes[kByteOfPair[i]];
    const std::string digits = HexText(written, HexCase::kCapital);
    std::string text = "{";
    for (const char digit : digits) {
        if (IsDashPlace(text.size() - 1)) text += '-';
        text += digit;
    }
    return text + "}";
}

std::optional<GUID> ParseGuid(std::string_view text) {
    if (text.size() == kTextLength + 2 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, kTextLength);
    }
    if (text.size() != kTextLength) return {};
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!IsDashPlace(i)) {
            digits += text[i];
        } else if (text[i] != '-') {
            return {};
        }
    }
    const std::optional<std::vector<std::uint8_t>> pairs = ParseHex(digits);
    if (!pairs) return {};
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[kByteOfPair[i]] = (*pairs)[i];
    GUID guid{};
    std::memcpy(&guid, bytes.data(), sizeof(guid));
    return guid;
}

}  // namespace quorvel::tool
