#include "base/wide_text.h"

#ifdef _WIN32
#include <cwchar>
#endif

namespace quorvel::platform {

#ifdef _WIN32

std::size_t FormatWide(std::span<WCHAR> buffer, const WCHAR* format, std::va_list arguments) {
    // The runtime leaves a text that fills the buffer without a terminator.
    buffer.back() = 0;
    _vsnwprintf(buffer.data(), buffer.size() - 1, format, arguments);
    return std::wcslen(buffer.data());
}

#endif

std::size_t PrintWide(std::span<WCHAR> buffer, const WCHAR* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::size_t units = FormatWide(buffer, format, arguments);
    va_end(arguments);
    return units;
}

}  // namespace quorvel::platform
