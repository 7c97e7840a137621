// Records of every kind of block.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "blocks/compressor_block.h"
#include "blocks/external_surround_block.h"
#include "blocks/limiter_block.h"
#include "blocks/noise_gate_block.h"
#include "blocks/surround_block.h"
#include "dsp/biquad/filter_band.h"
#include "kinds/block_kinds.h"
#include "kinds/block_type_ids.h"

namespace quorvel::test {

struct OneBand {
    uint32_t count = 1;
    FilterBand band{1000.0f, 0.7f, BandwidthMode::Q, 6.0f};
};

template <typename Record>
std::vector<uint8_t> BytesOf(const Record& record) {
    std::vector<uint8_t> bytes(sizeof(record));
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

inline constexpr MatrixDecoderParameters kDelayed = {.decodeMode = 1};

// Parameters with which a block of the kind has a state; empty: its defaults.
inline std::vector<uint8_t> RecordOf(const BlockKind& kind) {
    if (kind.typeId == kCompressorBlockTypeId)
        return BytesOf(CompressorParameters{-30, 5, 300, 0.3f});
    if (kind.typeId == kLimiterBlockTypeId) return BytesOf(LimiterParameters{-12.0f, 3, 300});
    if (kind.typeId == kNoiseGateBlockTypeId) return BytesOf(NoiseGateParameters{-40.0f, 2, 200});
    if (kind.typeId == kExternalSurroundBlockTypeId) return BytesOf(ExternalSurroundParameters{1});
    if (kind.typeId == kSurroundBlockTypeId) return BytesOf(SurroundParameters{1, kDelayed});
    if (kind.typeId == kMatrixDecoderBlockTypeId) return BytesOf(kDelayed);
    if (kind.smallestRecord == 18) return BytesOf(OneBand{});
    return {};
}

}  // namespace quorvel::test
