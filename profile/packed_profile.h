// Packing and unpacking whole-profile records; profile/packed_records.h shows their layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/windows_api.h"
#include "profile/heap_array.h"

class QuorvelAudioProfile;

namespace quorvel {

// A buffer with a packed profile in it.
struct PackedProfile {
    HeapArray<std::byte> bytes;
    std::uint32_t size = 0;  // of the buffer
};

// Packs `profile` in the current layout into a new buffer of the record and `extra` bytes; the
// record starts at byte `offset`. The extra bytes are 0, for the caller to fill, and so are the
// cookie and the data bytes of a block without `data`. Returns 0; 8 when the memory cannot be had
// or the buffer would exceed 4 GiB; 87 when `offset` exceeds `extra`.
//
// Sections carry the profileId of their chain, which a chain reads from its profile when it is made
// or assigned. A profile whose id has changed since, or that holds a chain of another profile,
// packs to a record that readers refuse with 13. Packing a copy of the profile instead repairs it;
// of a chain that points at another profile only a copy of the copy does.
DWORD PackProfile(const QuorvelAudioProfile& profile, std::uint32_t extra, std::uint32_t offset,
                  PackedProfile& packed);

// Reads the record of the current layout that starts at `bytes` into `profile`. Its own size field
// says where it ends, bytes behind it are not read. Id, cookie and paths are replaced, and so are
// blocks and links of the chains in the record; chains that it does not hold stay as they are.
//   0   done
//   13  the record is shorter than an empty profile, or longer than `bytes`; a section belongs to
//       another profile; a chain record or section lies about its size or reaches beyond its parent
//   8   memory cannot be had
// A chain that the profile had keeps its profileId, also when the profile's id changes: see
// PackProfile.
// After a failure the profile holds what was read until then. Linear in the record and n log n in
// its number of chains.
DWORD UnpackProfile(std::span<const std::byte> bytes, QuorvelAudioProfile& profile);

// The same for version 1, whose blocks and links belong to chain 1.
DWORD UnpackProfile1(std::span<const std::byte> bytes, QuorvelAudioProfile& profile);

}  // namespace quorvel
