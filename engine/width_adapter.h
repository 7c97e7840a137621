// The records of the two blocks with which a graph changes a stream's width on its own.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

namespace quorvel {

// For the stream expander, which widens.
struct WidenRecord {
    uint32_t outputChannels;
    uint32_t monoMode;  // how a mono stream is spread; 0: new channels stay silent
};

// For the bypass block, which folds down.
struct NarrowRecord {
    uint32_t outputChannels;
};

// The instance id of the adapters that widen single inputs; they stand in no block map, so they
// may share it.
inline constexpr GUID kInputAdapterId = {1, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};

}  // namespace quorvel
