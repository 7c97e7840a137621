#include "base/utf8_text.h"

#include <cstdint>

namespace quorvel::platform {
namespace {

// Code points from here on take a surrogate pair: 10 bits above 0xD800, 10 bits above 0xDC00.
constexpr std::uint32_t kFirstPaired = 0x10000;
constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;
constexpr std::uint32_t kPastSurrogates = 0xE000;
constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsHigh(std::uint32_t unit) {
    return unit >= kHighSurrogate && unit < kLowSurrogate;
}

bool IsLow(std::uint32_t unit) {
    return unit >= kLowSurrogate && unit < kPastSurrogates;
}

// Lead byte, then six bits a byte.
void AppendPoint(std::string& text, std::uint32_t point) {
    const int more = point < 0x80 ? 0 : point < 0x800 ? 1 : point < kFirstPaired ? 2 : 3;
    constexpr std::uint32_t kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(kLead[more] | (point >> (6 * more)));
    for (int i = more - 1; i >= 0; --i)
        text += static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F));
}

}  // namespace

bool AppendUtf8(std::string& narrow, std::basic_string_view<WCHAR> text) {
    bool isWhole = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t point = text[i];
        const std::uint32_t next = i + 1 < text.size() ? text[i + 1] : 0u;
        if (IsHigh(point) && IsLow(next)) {
            point = kFirstPaired + ((point - kHighSurrogate) << 10) + (next - kLowSurrogate);
            ++i;
        } else if (IsHigh(point) || IsLow(point)) {
            point = kReplacement;
            isWhole = false;
        }
        AppendPoint(narrow, point);
    }
    return isWhole;
}

}  // namespace quorvel::platform
