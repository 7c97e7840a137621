#include "authoring/document/source_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

namespace quorvel::tool {
namespace {

std::vector<FileIdentity>& Sources() {
    static std::vector<FileIdentity> sources;
    return sources;
}

}  // namespace

void NoteSource(int descriptor) {
    struct stat state {};
    if (fstat(descriptor, &state) == 0) Sources().push_back({state.st_dev, state.st_ino});
}

bool IsSource(const FileIdentity& file) {
    return std::ranges::find(Sources(), file) != Sources().end();
}

}  // namespace quorvel::tool
