// The driver's answer to a question, and how a question is asked again with more room.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_reader.h"
#include "platform/windows_api.h"
#include "profile/heap_array.h"

namespace quorvel {

// Room for an answer, or for a request, on the C runtime heap. One thread at a time.
class AnswerBuffer {
  public:
    // Makes room for `bytes` bytes, all zero, in place of the old ones. False when the memory
    // cannot be had.
    bool Allocate(std::uint32_t bytes) {
        room = AllocateZeroed<std::byte>(bytes);
        size = bytes;
        returned = 0;
        return room != nullptr;
    }

    // What the driver gave, never more than there is room for.
    std::span<const std::byte> Bytes() const { return {room.get(), std::min(returned, size)}; }

    // The same, with zeros behind it up to `least` bytes as far as there is room.
    std::span<const std::byte> BytesPadded(std::uint32_t least) const {
        return {room.get(), std::min(std::max(DWORD{returned}, DWORD{least}), DWORD{size})};
    }

    // The record at the front; false when the answer is too short for it.
    template <typename Record>
    bool Peek(Record& record) const {
        return ByteReader(Bytes()).Peek(record);
    }

    HeapArray<std::byte> room;
    DWORD size = 0;      // of the room
    DWORD returned = 0;  // bytes that the driver says it gave
};

// How a question learns that its first buffer was too small, and the size of the second:
// `sizeFactor` × the 32-bit field at `sizeOffset` of the partial answer + `sizeExtra`.
struct TwoStepRead {
    DWORD firstSize = 0;
    DWORD tooSmall = ERROR_MORE_DATA;  // ERROR_SUCCESS: two counts at the front that differ
    std::uint32_t sizeOffset = 0;
    std::uint32_t sizeFactor = 1;
    std::uint32_t sizeExtra = 0;
};

// The largest second buffer: no answer of an honest driver comes near 64 MiB, and no other gets
// more. A size above is memory that cannot be had (8).
inline constexpr std::uint32_t kLargestAnswer = 64u << 20;

}  // namespace quorvel
