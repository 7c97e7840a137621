// The libraries that a program plays for LoadLibraryExW.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/portable/debug_help/modules.h"

namespace quorvel::platform {

struct PlayedLibrary {
    std::map<std::string, FARPROC, std::less<>> functions;  // what GetProcAddress finds
    int references = 0;                                     // loads that were not let go of
};

// The library at a path, which stays as long as it is referred to; null when there is none.
using LibrarySource = std::function<PlayedLibrary*(std::u16string_view path)>;

// Asks `source` from now on; an empty one finds nothing, as it is in the beginning. It is called
// under a lock of this layer and must load nothing. Any thread.
void SetLibrarySource(LibrarySource source);

// The loaded library behind `handle`; null when that is none.
const PlayedLibrary* FindPlayedLibrary(HMODULE handle);

}  // namespace quorvel::platform
