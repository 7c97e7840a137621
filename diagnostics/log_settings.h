// The settings of the debug log: the one place where a diagnostic build changes them.
//
// Nothing in the system writes lines or changes a setting, and the values in log_settings.cpp are
// the shipped ones. A diagnostic build edits them there, or gives them to `logSettings` before the
// first line is written, for instance at the top of the library's entry point:
//
//     logSettings.sinkMode = LogSinkMode::kFile;
//     logSettings.filePath = L"C:\\Temp\\quorvel.log";
//
// Threads: set them before a second thread can write a line; from then on they are only read.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/windows_api.h"

namespace quorvel {

enum class LogSinkMode : int32_t {
    kDebugger = 0,  // OutputDebugStringW
    kFile = 1,      // appended to `filePath`
};

struct LogSettings {
    int32_t verbosity;          // lines of this level and the more important ones are written
    LogSinkMode sinkMode;       // any other number acts as kDebugger
    const WCHAR* filePath;      // of static lifetime; empty: no file can be opened, lines are lost
    std::atomic<bool> wasUsed;  // set by the first line that passes the verbosity
};

extern LogSettings logSettings;

}  // namespace quorvel
