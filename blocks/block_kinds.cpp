// The table of all block kinds.
#include <array>

#include "blocks/compressor_block.h"
#include "blocks/external_surround_block.h"
#include "blocks/filter_blocks.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/noise_gate_block.h"
#include "blocks/stereo_expander_block.h"
#include "blocks/stream_expander_block.h"
#include "blocks/surround_block.h"
#include "engine/block_factory.h"
#include "engine/block_type_ids.h"
#include "engine/bypass_block.h"
#include "engine/channel_extractor_block.h"
#include "engine/channels_combiner_block.h"
#include "engine/gain_block.h"
#include "engine/mixer_block.h"

namespace quorvel {
namespace {

constexpr std::array kBlockKinds = {
    BlockKind{kBandPassFilterBlockTypeId, "BandPassFilterBlock", kSmallestFilterRecord,
              CreateZeroed<BandPassFilterBlock>},
    BlockKind{kBypassBlockTypeId, "BypassBlock", sizeof(BypassParameters),
              CreateZeroed<BypassBlock>},
    BlockKind{kChannelExtractorBlockTypeId, "ChannelExtractorBlock",
              sizeof(ChannelExtractorParameters), CreateZeroed<ChannelExtractorBlock>},
    BlockKind{kChannelsCombinerBlockTypeId, "ChannelsCombinerBlock", 8,
              CreateZeroed<ChannelsCombinerBlock>},
    BlockKind{kCompressorBlockTypeId, "CompressorBlock", sizeof(CompressorParameters),
              CreateZeroed<CompressorBlock>},
    BlockKind{kExternalSurroundBlockTypeId, "ExternalSurroundBlock",
              sizeof(ExternalSurroundParameters), CreateZeroed<ExternalSurroundBlock>},
    BlockKind{kGainBlockTypeId, "GainBlock", sizeof(GainParameters), CreateZeroed<GainBlock>},
    BlockKind{kHighPassFilterBlockTypeId, "HighPassFilterBlock", kSmallestFilterRecord,
              CreateZeroed<HighPassFilterBlock>},
    BlockKind{kHighShelfFilterBlockTypeId, "HighShelfFilterBlock", kSmallestFilterRecord,
              CreateZeroed<HighShelfFilterBlock>},
    BlockKind{kLimiterBlockTypeId, "LimiterBlock", sizeof(LimiterParameters),
              CreateZeroed<LimiterBlock>},
    BlockKind{kLowPassFilterBlockTypeId, "LowPassFilterBlock", kSmallestFilterRecord,
              CreateZeroed<LowPassFilterBlock>},
    BlockKind{kLowShelfFilterBlockTypeId, "LowShelfFilterBlock", kSmallestFilterRecord,
              CreateZeroed<LowShelfFilterBlock>},
    BlockKind{kMatrixDecoderBlockTypeId, "MatrixDecoderBlock", sizeof(MatrixDecoderParameters),
              CreateZeroed<MatrixDecoderBlock>},
    BlockKind{kMixerBlockTypeId, "MixerBlock", 0, CreateZeroed<MixerBlock>},
    BlockKind{kNoiseGateBlockTypeId, "NoiseGateBlock", sizeof(NoiseGateParameters),
              CreateZeroed<NoiseGateBlock>},
    BlockKind{kNotchFilterBlockTypeId, "NotchFilterBlock", kSmallestFilterRecord,
              CreateZeroed<NotchFilterBlock>},
    BlockKind{kPeakingEQFilterBlockTypeId, "PeakingEQFilterBlock", kSmallestFilterRecord,
              CreateZeroed<PeakingEQFilterBlock>},
    BlockKind{kStereoExpanderBlockTypeId, "StereoExpanderBlock", sizeof(StereoExpanderParameters),
              CreateZeroed<StereoExpanderBlock>},
    BlockKind{kStreamExpanderBlockTypeId, "StreamExpanderBlock", sizeof(StreamExpanderParameters),
              CreateZeroed<StreamExpanderBlock>},
    BlockKind{kSurroundBlockTypeId, "SurroundBlock", sizeof(SurroundParameters),
              CreateZeroed<SurroundBlock>},
};

}  // namespace

std::span<const BlockKind> BlockKinds() {
    return kBlockKinds;
}

}  // namespace quorvel
