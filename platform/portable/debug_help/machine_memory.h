// The memory of a simulated process: some kilobytes here and there, and gaps between them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>

#include "platform/portable/kernel/types.h"

namespace quorvel::platform {

class MachineMemory {
  public:
    // Makes the range from `address` on readable with that content, in place of what was there.
    // Throws std::bad_alloc, and std::invalid_argument when the range goes beyond the last address.
    void Write(DWORD64 address, std::span<const std::byte> content);

    // Copies what is readable from `address` on without a gap, as far as `copy` has room; how much
    // that was.
    std::size_t Read(DWORD64 address, std::span<std::byte> copy) const;

    // A little-endian word of 4 bytes.
    std::optional<DWORD> ReadWord(DWORD64 address) const;

    // Makes a range unreadable.
    void Erase(DWORD64 address, DWORD64 size);

  private:
    std::map<DWORD64, std::byte> bytes;  // those that can be read, by address
};

}  // namespace quorvel::platform
