// The table of all block kinds.
#include <array>

#include "blocks/compressor_block.h"
#include "blocks/filter_blocks.h"
#include "blocks/limiter_block.h"
#include "blocks/noise_gate_block.h"
#include "blocks/stream_expander_block.h"
#include "engine/block_factory.h"
#include "engine/block_type_ids.h"
#include "engine/bypass_block.h"
#include "engine/channel_extractor_block.h"
#include "engine/channels_combiner_block.h"
#include "engine/gain_block.h"
#include "engine/mixer_block.h"

namespace quorvel {
namespace {

// A filter's record holds a count and at least one band.
constexpr uint32_t kFilterRecord = 18;

constexpr std::array kBlockKinds = {
    BlockKind{kBandPassFilterBlockTypeId, "BandPassFilterBlock", kFilterRecord,
              CreateZeroed<BandPassFilterBlock>},
    BlockKind{kBypassBlockTypeId, "BypassBlock", 4, CreateZeroed<BypassBlock>},
    BlockKind{kChannelExtractorBlockTypeId, "ChannelExtractorBlock", 4,
              CreateZeroed<ChannelExtractorBlock>},
    BlockKind{kChannelsCombinerBlockTypeId, "ChannelsCombinerBlock", 8,
              CreateZeroed<ChannelsCombinerBlock>},
    BlockKind{kCompressorBlockTypeId, "CompressorBlock", 16, CreateZeroed<CompressorBlock>},
    BlockKind{kGainBlockTypeId, "GainBlock", 4, CreateZeroed<GainBlock>},
    BlockKind{kHighPassFilterBlockTypeId, "HighPassFilterBlock", kFilterRecord,
              CreateZeroed<HighPassFilterBlock>},
    BlockKind{kHighShelfFilterBlockTypeId, "HighShelfFilterBlock", kFilterRecord,
              CreateZeroed<HighShelfFilterBlock>},
    BlockKind{kLimiterBlockTypeId, "LimiterBlock", 12, CreateZeroed<LimiterBlock>},
    BlockKind{kLowPassFilterBlockTypeId, "LowPassFilterBlock", kFilterRecord,
              CreateZeroed<LowPassFilterBlock>},
    BlockKind{kLowShelfFilterBlockTypeId, "LowShelfFilterBlock", kFilterRecord,
              CreateZeroed<LowShelfFilterBlock>},
    BlockKind{kMixerBlockTypeId, "MixerBlock", 0, CreateZeroed<MixerBlock>},
    BlockKind{kNoiseGateBlockTypeId, "NoiseGateBlock", 12, CreateZeroed<NoiseGateBlock>},
    BlockKind{kNotchFilterBlockTypeId, "NotchFilterBlock", kFilterRecord,
              CreateZeroed<NotchFilterBlock>},
    BlockKind{kPeakingEQFilterBlockTypeId, "PeakingEQFilterBlock", kFilterRecord,
              CreateZeroed<PeakingEQFilterBlock>},
    BlockKind{kStreamExpanderBlockTypeId, "StreamExpanderBlock", 8,
              CreateZeroed<StreamExpanderBlock>},
};

}  // namespace

std::span<const BlockKind> BlockKinds() {
    return kBlockKinds;
}

}  // namespace quorvel
