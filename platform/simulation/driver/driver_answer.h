// What the driver gives back for a request or an event read.
#pragma once

#include <cstdint>
#include <utility>

#include "platform/simulation/driver/driver_bytes.h"
#include "platform/simulation/driver/status.h"

namespace quorvel::simulation {

struct Answer {
    std::uint32_t status = status::kSuccess;  // Win32 code
    Bytes bytes{};                            // never more than the caller has room for
    std::uint64_t silence = 0;                // not 0: to be held back until that silence has ended
};

inline Answer StatusOnly(std::uint32_t code) {
    return {.status = code};
}

// All of `bytes`, or a refusal when they do not fit.
inline Answer WholeOrNothing(Bytes bytes, std::size_t capacity) {
    if (bytes.size() > capacity) return StatusOnly(status::kInsufficientBuffer);
    return {.bytes = std::move(bytes)};
}

// All of `bytes`, or as many as fit. The first `sizeEnd` bytes tell the full size; a caller without
// room for those is refused.
inline Answer WholeOrFront(Bytes bytes, std::size_t capacity, std::size_t sizeEnd) {
    if (bytes.size() <= capacity) return {.bytes = std::move(bytes)};
    if (capacity < sizeEnd) return StatusOnly(status::kInsufficientBuffer);
    bytes.resize(capacity);
    return {.status = status::kMoreData, .bytes = std::move(bytes)};
}

}  // namespace quorvel::simulation
