#include "platform/portable/debug_help/debug_output.h"

#include <cstdio>
#include <new>
#include <string>

#include "base/utf8_text.h"

void OutputDebugStringW(const WCHAR* text) {
    if (!text) return;
    try {
        std::string narrow;
        quorvel::platform::AppendUtf8(narrow, text);
        std::fwrite(narrow.data(), 1, narrow.size(), stderr);
    } catch (const std::bad_alloc&) {
    }
}
