#include "blocks/surround_block.h"

#include <algorithm>

#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr GUID kNoId = {};

// One side of a fade: silence where the block writes nothing.
void RunOrSilence(AudioBlock& block, float* in, float* out, int32_t frames) {
    block.Process(in, out, frames);
    if (block.IsMute()) std::fill_n(out, int64_t{frames} * block.GetOutputChannels(), 0.0f);
}

}  // namespace

SurroundBlock::SurroundBlock(const GUID& instanceId)
    : AudioBlock(instanceId), decoder(kNoId), plain(kNoId) {
    typeId = kSurroundBlockTypeId;  // `plain` folds to two channels from the start
    StartAfreshByClearing<SurroundBlock>();
}

int32_t SurroundBlock::GetInputChannels() const {
    return plain.GetInputChannels();
}

int32_t SurroundBlock::GetOutputChannels() const {
    return plain.GetOutputChannels();
}

uint32_t SurroundBlock::GetChannelMask() const {
    return plain.GetChannelMask();
}

void SurroundBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    plain.SetFormat(width, mask, rate);
    decoder.SetFormat(width, mask, rate);
    const auto frames = static_cast<int64_t>(static_cast<float>(rate));  // may round up to 2^31
    fadeFrames = static_cast<int32_t>(std::min<int64_t>(frames, INT32_MAX));
    fadeStep = 1.0f / static_cast<float>(fadeFrames);
}

void SurroundBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (fadeRemaining != 0) return ProcessFade(in, out, frames);
    AudioBlock& running = enabled > 0 ? static_cast<AudioBlock&>(decoder) : plain;
    running.Process(in, out, frames);
    isMute = running.IsMute();
}

void SurroundBlock::ProcessFade(float* in, float* out, int32_t frames) {
    if (frames < 1) return;
    const int32_t count = std::min(fadeRemaining, frames);
    const bool hasScratch = scratch.Grow(BufferBytes(frames, GetOutputChannels()));
    if (hasScratch) RunOrSilence(plain, in, scratch.data, frames);
    RunOrSilence(decoder, in, out, frames);
    isMute = false;
    const float* const other = scratch.data;
    const int32_t width = hasScratch ? GetOutputChannels() : 0;  // 0: the gains go on alone
    if (enabled != 0)
        Crossfade(other, out, out, count, width);
    else
        Crossfade(out, other, out, count, width);
    fadeRemaining -= count;
}

// `out` is one of the two.
void SurroundBlock::Crossfade(const float* outgoing, const float* incoming, float* out,
                              int32_t count, int32_t width) {
    for (int32_t f = 0; f < count; ++f) {
        for (int32_t c = 0; c < width; ++c, ++outgoing, ++incoming, ++out)
            *out = *outgoing * fadeOutGain + fadeInGain * *incoming;
        fadeOutGain -= fadeStep;
        fadeInGain += fadeStep;
    }
}

void SurroundBlock::ClearState() QUORVEL_REAL_TIME {
    decoder.ClearState();
    scratch.Silence();
    fadeRemaining = 0;
}

bool SurroundBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(SurroundParameters)) return false;
    return SetParameters(data);
}

bool SurroundBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto wanted = ReadRecord<SurroundParameters>(record);
    Switch(wanted.surroundOn);
    return decoder.SetParameters(&wanted.decoderParameters);
}

void SurroundBlock::Switch(int32_t surroundOn) {
    if (enabled == -1) {
        enabled = surroundOn != 0 ? 1 : 0;
        return;
    }
    if (surroundOn == enabled) return;
    enabled = surroundOn;
    fadeRemaining = fadeFrames;
    fadeInGain = 0.0f;
    fadeOutGain = 1.0f;
}

}  // namespace quorvel
