// Writing WCHAR text: literals, and formatting into a bounded buffer.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <span>

#include "platform/windows_api.h"

namespace quorvel::platform {

// An ASCII literal as WCHAR text, whatever type that is: `constexpr WideLiteral kText("text")`.
template <std::size_t size>
struct WideLiteral {
    explicit consteval WideLiteral(const char (&ascii)[size]) {
        for (std::size_t i = 0; i < size; ++i)
            text[i] = static_cast<WCHAR>(ascii[i]);
    }
    WCHAR text[size]{};
};

// Formats into `buffer`, which has room for one unit at least, cuts what does not fit and always
// terminates. Returns the units written ahead of the terminator. Allocates nothing; any thread.
//
// On Windows this is the C runtime's _vsnwprintf. Elsewhere it takes the part of its language that
// is common in messages:
//
//   %[flags][width][.precision][length]conversion
//   flags        - + space # 0; a width or precision may be *; both count up to 1023
//   d i u x X o  an integer; length h, hh, l, ll, z or I64, l being the system's own long
//   e E f F g G  a double, a or A too
//   s            WCHAR text, or char text as %hs; a null pointer gives "(null)"
//   S            char text, or WCHAR text as %lS; char text is taken byte by byte as Latin-1
//   c C          one unit of the same
//   p            a pointer in upper-case hexadecimal, all digits, without prefix
//   %            itself
//
// From any other conversion on, the format is copied as it stands.
std::size_t FormatWide(std::span<WCHAR> buffer, const WCHAR* format, std::va_list arguments);

// The same with the arguments themselves.
std::size_t PrintWide(std::span<WCHAR> buffer, const WCHAR* format, ...);

}  // namespace quorvel::platform
