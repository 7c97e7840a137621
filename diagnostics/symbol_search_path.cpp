#include "diagnostics/symbol_search_path.h"

#include <algorithm>
#include <string_view>

#include "base/wide_text.h"

namespace quorvel {
namespace {

using Text = std::basic_string<WCHAR>;

constexpr platform::WideLiteral kSeparators("\\/:");
constexpr platform::WideLiteral kOwnDirectory(".;");
constexpr platform::WideLiteral kListSeparator(";");
constexpr platform::WideLiteral kSymbolPath("_NT_SYMBOL_PATH");
constexpr platform::WideLiteral kAlternateSymbolPath("_NT_ALTERNATE_SYMBOL_PATH");
constexpr platform::WideLiteral kSystemRoot("SYSTEMROOT");
constexpr platform::WideLiteral kWow64Libraries("\\SysWOW64");
constexpr platform::WideLiteral kNativeLibraries("\\System32");

constexpr DWORD kValueUnits = 1024;  // with the terminating zero

// Empty when it is not known.
Text ExecutableDirectory() {
    Text path(kValueUnits, WCHAR{});
    path.resize(std::min(GetModuleFileNameW(nullptr, path.data(), kValueUnits), kValueUnits - 1));
    const std::size_t cut = path.find_last_of(kSeparators.text);
    if (cut != Text::npos) path.resize(cut);
    return path;
}

// Empty when it is not set. A value that is longer than the room is read whole, then cut; one that
// grows meanwhile is left out.
Text EnvironmentValue(const WCHAR* name) {
    Text value(kValueUnits, WCHAR{});
    DWORD length = GetEnvironmentVariableW(name, value.data(), kValueUnits);
    if (length > kValueUnits) {
        const DWORD room = length;
        value.resize(room);
        length = GetEnvironmentVariableW(name, value.data(), room);
        if (length >= room) length = 0;
    }
    value.resize(std::min(length, kValueUnits - 1));
    return value;
}

const WCHAR* SystemLibraries(HANDLE process) {
    BOOL isWow64 = FALSE;
    if (!IsWow64Process(process, &isWow64)) isWow64 = FALSE;
    return isWow64 ? kWow64Libraries.text : kNativeLibraries.text;
}

void Append(Text& path, const Text& directory) {
    if (!directory.empty()) path += directory + kListSeparator.text;
}

}  // namespace

Text SymbolSearchPath(HANDLE process) {
    Text path = kOwnDirectory.text;
    Append(path, ExecutableDirectory());
    Append(path, EnvironmentValue(kSymbolPath.text));
    Append(path, EnvironmentValue(kAlternateSymbolPath.text));
    const Text systemRoot = EnvironmentValue(kSystemRoot.text);
    if (!systemRoot.empty()) {
        Append(path, systemRoot);
        Append(path, systemRoot + SystemLibraries(process));
    }
    path.resize(std::min(path.size(), kSearchPathUnits - 1));
    return path;
}

}  // namespace quorvel
