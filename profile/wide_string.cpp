#include "profile/wide_string.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace quorvel {

std::size_t StringLength(const WCHAR* text) {
    return std::char_traits<WCHAR>::length(text);
}

WCHAR* DuplicateString(const WCHAR* text) {
    if (!text) return nullptr;
    const std::size_t bytes = (StringLength(text) + 1) * sizeof(WCHAR);
    void* copy = std::malloc(bytes);
    if (copy) std::memcpy(copy, text, bytes);
    return static_cast<WCHAR*>(copy);
}

bool SameString(const WCHAR* a, const WCHAR* b) {
    if (!a || !b) return false;
    const std::size_t length = StringLength(a);
    return length == StringLength(b) && std::char_traits<WCHAR>::compare(a, b, length) == 0;
}

}  // namespace quorvel
