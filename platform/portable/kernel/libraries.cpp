#include "platform/portable/kernel/libraries.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/library_source.h"

namespace quorvel::platform {
namespace {

constexpr std::u16string_view kSystemFolder = u"C:\\Windows\\System32";

// Never destroyed, so that threads may outlive the static objects.
struct Libraries {
    std::mutex mutex;  // guards all below; a leaf
    LibrarySource source;
    std::vector<PlayedLibrary*> loaded;  // once a load
};

Libraries& TheLibraries() {
    static Libraries& libraries = *new Libraries;
    return libraries;
}

HMODULE HandleOf(PlayedLibrary* library) {
    return reinterpret_cast<HMODULE>(library);
}

}  // namespace

void SetLibrarySource(LibrarySource source) {
    const std::lock_guard lock(TheLibraries().mutex);
    TheLibraries().source = std::move(source);
}

const PlayedLibrary* FindPlayedLibrary(HMODULE handle) {
    Libraries& libraries = TheLibraries();
    const std::lock_guard lock(libraries.mutex);
    const auto found = std::ranges::find(libraries.loaded, handle, HandleOf);
    return found == libraries.loaded.end() ? nullptr : *found;
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

HMODULE LoadLibraryExW(const WCHAR* path, HANDLE, DWORD) {
    return OrNotEnoughMemory(HMODULE{}, [&] {
        Libraries& libraries = TheLibraries();
        const std::lock_guard lock(libraries.mutex);
        PlayedLibrary* const library = libraries.source ? libraries.source(path) : nullptr;
        if (!library) return FailWith(ERROR_MOD_NOT_FOUND, HMODULE{});
        libraries.loaded.push_back(library);
        ++library->references;
        return HandleOf(library);
    });
}

BOOL FreeLibrary(HMODULE handle) {
    Libraries& libraries = TheLibraries();
    const std::lock_guard lock(libraries.mutex);
    const auto found = std::ranges::find(libraries.loaded, handle, HandleOf);
    if (found == libraries.loaded.end()) return FailWith(ERROR_MOD_NOT_FOUND, FALSE);
    --(*found)->references;
    libraries.loaded.erase(found);
    return TRUE;
}

UINT GetSystemDirectoryW(LPWSTR path, UINT size) {
    const auto length = static_cast<UINT>(kSystemFolder.size());
    if (size <= length) return length + 1;
    CopyText(kSystemFolder, path, size);
    return length;
}
