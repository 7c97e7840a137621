// Reading the packed little-endian parameter records of blocks.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace quorvel {

// A copy of the record of type `Record` that starts at `bytes` (any alignment, at least
// sizeof(Record) bytes).
template <typename Record>
Record ReadRecord(const void* bytes) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record;
    std::memcpy(&record, bytes, sizeof(Record));
    return record;
}

}  // namespace quorvel
