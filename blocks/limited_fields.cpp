// The table of the fields that limits hold for.
//
// Not here, since no value of theirs costs anything: the index of an extractor (one that its input
// does not have gives silence), times of dynamics other than a look-ahead, decibels, angles.
#include <array>
#include <cstddef>

#include "blocks/bypass_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/stream_expander_block.h"
#include "blocks/surround_block.h"
#include "engine/limits.h"
#include "engine/record_limits.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr LimitedField Bands(const GUID& typeId) {
    return {typeId, "number of bands", 0, 1, limits::kMostBands, false};
}

constexpr std::uint32_t kDelays = offsetof(MatrixDecoderParameters, outputDelaysMs);
constexpr std::uint32_t kDelayCount =
    sizeof(MatrixDecoderParameters::outputDelaysMs) / sizeof(std::uint32_t);

constexpr std::array kLimitedFields = {
    Bands(kBandPassFilterBlockTypeId),
    LimitedField{kBypassBlockTypeId, "outputChannelCount",
                 offsetof(BypassParameters, outputChannelCount), 1, limits::kMostChannels, false},
    // An offset for each block that may feed the combiner.
    LimitedField{kChannelsCombinerBlockTypeId, "number of channelOffsets",
                 offsetof(ChannelsCombinerParameters, count), 1, limits::kMostBlocks, false},
    LimitedField{kChannelsCombinerBlockTypeId, "channelOffsets", sizeof(ChannelsCombinerParameters),
                 0, limits::kMostChannels - 1, true},
    Bands(kHighPassFilterBlockTypeId),
    Bands(kHighShelfFilterBlockTypeId),
    LimitedField{kLimiterBlockTypeId, "attackMs", offsetof(LimiterParameters, attackMs), 1,
                 limits::kLongestDelayMs, false},
    Bands(kLowPassFilterBlockTypeId),
    Bands(kLowShelfFilterBlockTypeId),
    LimitedField{kMatrixDecoderBlockTypeId, "outputDelaysMs", kDelays, kDelayCount,
                 limits::kLongestDelayMs, false},
    Bands(kNotchFilterBlockTypeId),
    Bands(kPeakingEQFilterBlockTypeId),
    LimitedField{kStreamExpanderBlockTypeId, "targetChannels",
                 offsetof(StreamExpanderParameters, targetChannels), 1, limits::kMostChannels,
                 false},
    LimitedField{kSurroundBlockTypeId, "decoderParameters.outputDelaysMs",
                 offsetof(SurroundParameters, decoderParameters) + kDelays, kDelayCount,
                 limits::kLongestDelayMs, false},
};

}  // namespace

std::span<const LimitedField> LimitedFields() {
    return kLimitedFields;
}

}  // namespace quorvel
