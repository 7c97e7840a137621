#include "authoring/document/utf16_text.h"

#include <cstdint>

#include "base/utf8_text.h"

namespace quorvel::tool {
namespace {

// Code points from here on take a surrogate pair: 10 bits above 0xD800, 10 bits above 0xDC00.
constexpr std::uint32_t kFirstPaired = 0x10000;
constexpr std::uint32_t kHighSurrogate = 0xD800;
constexpr std::uint32_t kLowSurrogate = 0xDC00;

void AppendUtf16(WideText& text, std::uint32_t point) {
    if (point >= kFirstPaired) {
        text += static_cast<WCHAR>(kHighSurrogate + ((point - kFirstPaired) >> 10));
        point = kLowSurrogate + (point & 0x3FF);
    }
    text += static_cast<WCHAR>(point);
}

}  // namespace

WideText ToUtf16(std::string_view text) {
    WideText wide;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<std::uint8_t>(text[i++]);
        const int more = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        std::uint32_t point = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more && i < text.size(); ++k)
            point = (point << 6) | (static_cast<std::uint8_t>(text[i++]) & 0x3Fu);
        AppendUtf16(wide, point);
    }
    return wide;
}

std::optional<std::string> ToUtf8(std::basic_string_view<WCHAR> text) {
    std::string narrow;
    if (!platform::AppendUtf8(narrow, text)) return {};
    return narrow;
}

}  // namespace quorvel::tool
