#include "diagnostics/debug_log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <span>
#include <string>

#include "base/utf8_text.h"
#include "base/wide_text.h"
#include "diagnostics/log_settings.h"

namespace quorvel {
namespace {

using platform::WideLiteral;

constexpr WideLiteral kHead("%04d-%02d-%02d %02d:%02d:%02d.%03d %08p (%S:%d): ");
constexpr WideLiteral kReadBinary("rb");
constexpr WideLiteral kAppendText("at");

constexpr std::array kLevelSinks = {WriteLogLine<0>, WriteLogLine<1>, WriteLogLine<2>,
                                    WriteLogLine<3>, WriteLogLine<4>, WriteLogLine<5>};

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

UniqueFile OpenLogFile(const WCHAR* mode) {
    return UniqueFile(_wfopen(logSettings.filePath, mode));
}

std::size_t WriteHead(std::span<WCHAR> line, const char* source, int number, const void* object) {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return platform::PrintWide(line, kHead.text, now.wYear, now.wMonth, now.wDay, now.wHour,
                               now.wMinute, now.wSecond, now.wMilliseconds, object, source, number);
}

// A size that `long` cannot tell is taken for too long.
bool IsLogFileTooLong() {
    const UniqueFile file = OpenLogFile(kReadBinary.text);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return false;
    const long size = std::ftell(file.get());
    return size < 0 || size > kLongestLogFile;
}

// In UTF-8. Throws std::bad_alloc.
void AppendToLogFile(const WCHAR* line) {
    std::string text;
    platform::AppendUtf8(text, line);
    text += '\n';
    if (IsLogFileTooLong()) DeleteFileW(logSettings.filePath);
    if (const UniqueFile file = OpenLogFile(kAppendText.text)) std::fputs(text.c_str(), file.get());
}

}  // namespace

void Log(int level, const char* source, int line, const void* object, const WCHAR* format,
         ...) noexcept {
    if (level < 0 || level > kLeastLogLevel) return;
    std::array<WCHAR, kLogLineUnits> text;
    const std::span<WCHAR> room(text);
    const std::size_t head = WriteHead(room, source, line, object);
    std::va_list arguments;
    va_start(arguments, format);
    platform::FormatWide(room.subspan(head), format, arguments);
    va_end(arguments);
    kLevelSinks[static_cast<std::size_t>(level)](text.data());
}

void WriteLogLine(int level, const WCHAR* line) noexcept {
    if (level > kLeastLogLevel || logSettings.verbosity < level) return;
    logSettings.wasUsed = true;
    if (logSettings.sinkMode != LogSinkMode::kFile) {
        OutputDebugStringW(line);
        return;
    }
    try {
        AppendToLogFile(line);
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace quorvel
