// Which files a run of the tool reads, so that it writes over none of them.
#pragma once

#include <sys/types.h>

namespace quorvel::tool {

// The file itself, whatever it is called: the same for all its links.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    bool operator==(const FileIdentity&) const = default;
};

// Notes the file behind an open descriptor. Called wherever the tool opens a file for reading, on
// one thread. Devices and pipes need no protection and may be noted.
void NoteSource(int descriptor);

bool IsSource(const FileIdentity& file);

}  // namespace quorvel::tool
