// What a graph needs to fit the width of a stream on its own.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

namespace quorvel {

// The record of the stream expander, StreamExpanderParameters by another name: the engine knows no
// effect block. The two are held alike where that block is implemented.
struct WidenRecord {
    uint32_t outputChannels = 0;
    uint32_t monoMode = 0;  // how a mono stream is spread; 0: new channels stay silent
};

// The record of the bypass block, which folds down: BypassParameters by another name.
struct NarrowRecord {
    uint32_t outputChannels = 0;
};

// The instance id of the adapters that widen single inputs; they stand in no block map, so they
// may share it.
inline constexpr GUID kInputAdapterId = {1, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};

}  // namespace quorvel
