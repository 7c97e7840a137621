#include "platform/installed_library.h"

#include <string>

#include "platform/module_file.h"

namespace quorvel::platform {
namespace {

using Path = std::basic_string<WCHAR>;

// With its last backslash; empty when the system does not tell.
Path OwnFolder() {
    const Path file = ModuleFile();
    return file.substr(0, file.rfind(WCHAR{'\\'}) + 1);
}

Path SystemFolder() {
    Path folder(MAX_PATH, WCHAR{});
    const UINT length = GetSystemDirectoryW(folder.data(), MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return {};
    folder.resize(length);
    return folder + WCHAR{'\\'};
}

}  // namespace

HMODULE LoadInstalledLibrary(const WCHAR* fileName) {
    for (const Path& folder : {OwnFolder(), SystemFolder()}) {
        if (folder.empty()) continue;
        const Path path = folder + fileName;
        // What the library itself needs is looked for beside it first.
        if (const HMODULE library =
                LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH))
            return library;
    }
    return nullptr;
}

}  // namespace quorvel::platform
