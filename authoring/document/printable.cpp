#include "authoring/document/printable.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace quorvel::tool {
namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};
constexpr Range kUnprintable[] = {{0x00, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x2029}, {0xFFFE, 0xFFFF}};

// By the number of bytes: the bits of the first byte that say so, and the least character that
// needs so many.
struct Form {
    std::uint8_t mask;
    std::uint8_t mark;
    std::uint32_t least;
};
constexpr Form kForms[] = {
    {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

struct Character {
    std::uint32_t code = 0;
    std::size_t size = 0;  // bytes; 0: no UTF-8
};

Character Decode(std::string_view text) {
    const auto lead = static_cast<std::uint8_t>(text.front());
    const auto* form = std::ranges::find_if(
        kForms, [lead](const Form& row) { return (lead & row.mask) == row.mark; });
    const auto size = static_cast<std::size_t>(form - kForms) + 1;
    if (form == std::end(kForms) || text.size() < size) return {};
    std::uint32_t code = lead & static_cast<std::uint8_t>(~form->mask);
    for (std::size_t i = 1; i < size; ++i) {
        const auto byte = static_cast<std::uint8_t>(text[i]);
        if ((byte & 0xC0) != 0x80) return {};
        code = code << 6 | (byte & 0x3Fu);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < form->least || code > 0x10FFFF || isSurrogate) return {};
    return {code, size};
}

bool IsPrintable(std::uint32_t code) {
    return std::ranges::none_of(
        kUnprintable, [code](const Range& row) { return code >= row.first && code <= row.last; });
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        const Character character = Decode(text);
        const std::size_t size = std::max<std::size_t>(character.size, 1);
        if (character.size == 0)
            printable += '?';
        else if (IsPrintable(character.code))
            printable.append(text.substr(0, size));
        else
            printable += ' ';
        text.remove_prefix(size);
    }
    return printable;
}

}  // namespace quorvel::tool
