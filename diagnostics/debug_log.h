// The debug log: lines with time, object and source place, for the debugger's window or a file.
//
// Kept ready for diagnostic builds; nothing in the system calls it. log_settings.h says where lines
// go and how they are switched.
//
// Levels run from 0, the most important, to 5. A level is written when the verbosity is as high; as
// shipped, all are. The log tells nobody of its own failures: a line that cannot be written is
// lost.
//
// Threads: any, without a lock. A line is one call of the debugger or one opening, writing and
// closing of the file, so lines of several threads do not mix within the debugger. All of this
// blocks, and the file sink allocates: never on the real-time thread.
#pragma once

#include "platform/windows_api.h"

namespace quorvel {

inline constexpr int kLeastLogLevel = 5;

// Units of a line with its head, the terminator included. What is longer is cut.
inline constexpr int kLogLineUnits = 1024;

// The log file starts afresh when it is found longer than this many bytes (5 MiB).
inline constexpr long kLongestLogFile = 0x500000;

// Writes "2024-02-29 13:05:09.042 000000000012F7A0 (device.cpp:81): " (local time, `object`,
// `source` and `line`) and the message. `format` is in the language of base/wide_text.h, after
// which the arguments must be; `source` is narrow text. Levels outside 0 to 5 are dropped.
void Log(int level, const char* source, int line, const void* object, const WCHAR* format,
         ...) noexcept;

// The sink of all levels: hands a finished line to the debugger as it is, without a line break, or
// to the file (UTF-8) with one, unless the verbosity is below `level` or that is above 5.
void WriteLogLine(int level, const WCHAR* line) noexcept;

// The sink of one level.
template <int level>
void WriteLogLine(const WCHAR* line) noexcept {
    static_assert(level >= 0 && level <= kLeastLogLevel);
    WriteLogLine(level, line);
}

}  // namespace quorvel
