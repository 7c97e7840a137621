// What kinds of blocks there are: one row each, ordered by class name.
//
// Constant data: any thread may read it without a lock.
#pragma once

#include <array>
#include <cstdint>

#include "kinds/block_type_ids.h"

namespace quorvel {

struct BlockKind {
    GUID typeId;
    const char* name;         // class name, such as "GainBlock"
    uint32_t smallestRecord;  // fewest bytes that the block's SetParameterData takes
};

inline constexpr std::array kBlockKinds = {
    BlockKind{kBandPassFilterBlockTypeId, "BandPassFilterBlock", 18},
    BlockKind{kBypassBlockTypeId, "BypassBlock", 4},
    BlockKind{kChannelExtractorBlockTypeId, "ChannelExtractorBlock", 4},
    BlockKind{kChannelsCombinerBlockTypeId, "ChannelsCombinerBlock", 8},
    BlockKind{kCompressorBlockTypeId, "CompressorBlock", 16},
    BlockKind{kExternalSurroundBlockTypeId, "ExternalSurroundBlock", 68},
    BlockKind{kGainBlockTypeId, "GainBlock", 4},
    BlockKind{kHighPassFilterBlockTypeId, "HighPassFilterBlock", 18},
    BlockKind{kHighShelfFilterBlockTypeId, "HighShelfFilterBlock", 18},
    BlockKind{kLimiterBlockTypeId, "LimiterBlock", 12},
    BlockKind{kLowPassFilterBlockTypeId, "LowPassFilterBlock", 18},
    BlockKind{kLowShelfFilterBlockTypeId, "LowShelfFilterBlock", 18},
    BlockKind{kMatrixDecoderBlockTypeId, "MatrixDecoderBlock", 132},
    BlockKind{kMixerBlockTypeId, "MixerBlock", 0},
    BlockKind{kNoiseGateBlockTypeId, "NoiseGateBlock", 12},
    BlockKind{kNotchFilterBlockTypeId, "NotchFilterBlock", 18},
    BlockKind{kPeakingEQFilterBlockTypeId, "PeakingEQFilterBlock", 18},
    BlockKind{kStereoExpanderBlockTypeId, "StereoExpanderBlock", 48},
    BlockKind{kStreamExpanderBlockTypeId, "StreamExpanderBlock", 8},
    BlockKind{kSurroundBlockTypeId, "SurroundBlock", 136},
};

// The kind with that type id; null when there is none.
const BlockKind* FindBlockKind(const GUID& typeId);

bool IsKnownBlockType(const GUID& typeId);

}  // namespace quorvel
