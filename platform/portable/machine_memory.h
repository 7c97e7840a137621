// The memory of a simulated process: ranges of bytes with gaps between them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "platform/portable/types.h"

namespace quorvel::platform {

class MachineMemory {
  public:
    // Makes [address, address + bytes.size()) readable with that content; what overlaps it is
    // replaced. Throws std::bad_alloc; std::invalid_argument when the range is empty or wraps.
    void Write(DWORD64 address, std::span<const std::byte> bytes);

    // Copies what is readable from `address` on without a gap, as far as `bytes` has room; how much
    // that was.
    std::size_t Read(DWORD64 address, std::span<std::byte> bytes) const;

    // A little-endian word of 4 bytes.
    std::optional<DWORD> ReadWord(DWORD64 address) const;

    void Clear() { ranges.clear(); }

  private:
    std::map<DWORD64, std::vector<std::byte>> ranges;  // by first address; none overlap
};

}  // namespace quorvel::platform
