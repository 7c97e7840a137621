// The constructor of every block kind.
#include <array>
#include <cstddef>

#include "blocks/bypass_block.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/compressor_block.h"
#include "blocks/external_surround_block.h"
#include "blocks/filter_blocks.h"
#include "blocks/gain_block.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/mixer_block.h"
#include "blocks/noise_gate_block.h"
#include "blocks/stereo_expander_block.h"
#include "blocks/stream_expander_block.h"
#include "blocks/surround_block.h"
#include "engine/block_factory.h"
#include "kinds/block_kinds.h"

namespace quorvel {
namespace {

// The class of a kind, and the fewest bytes that its SetParameterData takes.
struct BlockClass {
    GUID typeId;
    size_t smallestRecord;
    CreateBlockFunction create;
};

constexpr std::array kBlockClasses = {
    BlockClass{kBandPassFilterBlockTypeId, kSmallestFilterRecord,
               CreateZeroed<BandPassFilterBlock>},
    BlockClass{kBypassBlockTypeId, sizeof(BypassParameters), CreateZeroed<BypassBlock>},
    BlockClass{kChannelExtractorBlockTypeId, sizeof(ChannelExtractorParameters),
               CreateZeroed<ChannelExtractorBlock>},
    BlockClass{kChannelsCombinerBlockTypeId, 8, CreateZeroed<ChannelsCombinerBlock>},
    BlockClass{kCompressorBlockTypeId, sizeof(CompressorParameters), CreateZeroed<CompressorBlock>},
    BlockClass{kExternalSurroundBlockTypeId, sizeof(ExternalSurroundParameters),
               CreateZeroed<ExternalSurroundBlock>},
    BlockClass{kGainBlockTypeId, sizeof(GainParameters), CreateZeroed<GainBlock>},
    BlockClass{kHighPassFilterBlockTypeId, kSmallestFilterRecord,
               CreateZeroed<HighPassFilterBlock>},
    BlockClass{kHighShelfFilterBlockTypeId, kSmallestFilterRecord,
               CreateZeroed<HighShelfFilterBlock>},
    BlockClass{kLimiterBlockTypeId, sizeof(LimiterParameters), CreateZeroed<LimiterBlock>},
    BlockClass{kLowPassFilterBlockTypeId, kSmallestFilterRecord, CreateZeroed<LowPassFilterBlock>},
    BlockClass{kLowShelfFilterBlockTypeId, kSmallestFilterRecord,
               CreateZeroed<LowShelfFilterBlock>},
    BlockClass{kMatrixDecoderBlockTypeId, sizeof(MatrixDecoderParameters),
               CreateZeroed<MatrixDecoderBlock>},
    BlockClass{kMixerBlockTypeId, 0, CreateZeroed<MixerBlock>},
    BlockClass{kNoiseGateBlockTypeId, sizeof(NoiseGateParameters), CreateZeroed<NoiseGateBlock>},
    BlockClass{kNotchFilterBlockTypeId, kSmallestFilterRecord, CreateZeroed<NotchFilterBlock>},
    BlockClass{kPeakingEQFilterBlockTypeId, kSmallestFilterRecord,
               CreateZeroed<PeakingEQFilterBlock>},
    BlockClass{kStereoExpanderBlockTypeId, sizeof(StereoExpanderParameters),
               CreateZeroed<StereoExpanderBlock>},
    BlockClass{kStreamExpanderBlockTypeId, sizeof(StreamExpanderParameters),
               CreateZeroed<StreamExpanderBlock>},
    BlockClass{kSurroundBlockTypeId, sizeof(SurroundParameters), CreateZeroed<SurroundBlock>},
};

constexpr bool SameBytes(const GUID& a, const GUID& b) {
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i]) return false;
    return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
}

// Both tables hold the same kinds in the same order, and agree on the records' sizes.
constexpr bool MatchKinds() {
    if (kBlockClasses.size() != kBlockKinds.size()) return false;
    for (size_t i = 0; i < kBlockClasses.size(); ++i) {
        if (!SameBytes(kBlockClasses[i].typeId, kBlockKinds[i].typeId)) return false;
        if (kBlockClasses[i].smallestRecord != kBlockKinds[i].smallestRecord) return false;
    }
    return true;
}
static_assert(MatchKinds());

}  // namespace

CreateBlockFunction FindBlockConstructor(const GUID& typeId) {
    const BlockKind* const kind = FindBlockKind(typeId);
    return kind ? kBlockClasses[static_cast<size_t>(kind - kBlockKinds.data())].create : nullptr;
}

}  // namespace quorvel
