#include "blocks/matrix_decoder_block.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "dsp/surround/renderer_input.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr float kOutputGain = 1.9952623f;  // 10^(6/20)

constexpr uint32_t kStereo = 0x3;
constexpr uint32_t kDecodedMask = 0x63F;
constexpr int32_t kDecodedChannels = 8;
constexpr uint32_t kDiscreteDelayMs = 5;
constexpr std::size_t kOptionBytes = offsetof(MatrixDecoderParameters, delaysEnabled);

// Slots of the decoded frame, in the order of the mask.
enum Slot {
    kFrontLeft,
    kFrontRight,
    kCentre,
    kLowFrequency,
    kBackLeft,
    kBackRight,
    kSideLeft,
    kSideRight
};

// By the stage's channels.
constexpr Slot kStageSlots[kDecoderChannels] = {kFrontLeft, kCentre,       kFrontRight, kSideLeft,
                                                kSideRight, kLowFrequency, kBackLeft,   kBackRight};

// The mode's part of the decoder's mode word, and the values that it forces on options.
struct Mode {
    uint32_t code;
    bool forcesOption2;  // to 0
    bool forcesOption3;  // to 7
    bool forcesOption4;  // to 0
};
constexpr Mode kModes[] = {
    {2, true, true, true}, {3, true, false, false}, {7, false, false, false}};
constexpr uint32_t kModeWordBase = 25;

// A rate's code is its place.
constexpr uint32_t kDecoderRates[] = {32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000};

uint16_t FlagsWord(const MatrixDecoderParameters& options, const Mode& mode) {
    const uint32_t option2 = mode.forcesOption2 ? 0 : options.option2 & 0xFFFF;
    const uint32_t option3 = mode.forcesOption3 ? 7 : options.option3;
    const bool option4 = !mode.forcesOption4 && options.option4 != 0;
    const uint32_t word = (options.option5 == 0 ? 0x1u : 0u) | (options.option7 != 0 ? 0x2u : 0u) |
                          (options.decodeMode == 0 ? 0x4u : 0u) | (option4 ? 0x8u : 0u) |
                          option2 << 4 | option3 << 8 | (options.option6 != 0 ? 0x1000u : 0u);
    return static_cast<uint16_t>(word);
}

}  // namespace

// An input that is decoded: where its pair stands, how many channels are kept beside it, and where
// the decoder's sides go then.
struct MatrixDecoderBlock::Layout {
    uint32_t mask;
    int32_t channels;        // at least
    int32_t pair;            // its left channel
    int32_t kept;            // channels, from the first on; 0: the frame is the decoder's
    Slot sidesTo;            // the left one
    DecoderOutputs outputs;  // that have a place in the frame then
};

const MatrixDecoderBlock::Layout* MatrixDecoderBlock::FindLayout(uint32_t width, uint32_t mask) {
    using enum DecoderOutputs;
    static constexpr Layout kLayouts[] = {{kStereo, 2, 0, 0, kFrontLeft, All},
                                          {0x33, 4, 2, 2, kCentre, FrontAndBacks},
                                          {0x3F, 6, 4, 4, kBackLeft, FrontAndSides},
                                          {0x60F, 6, 4, 4, kBackLeft, FrontAndSides}};
    const uint32_t wanted = width == 2 ? kStereo : mask;
    const auto* row = std::ranges::find(kLayouts, wanted, &Layout::mask);
    const bool isWideEnough =
        row != std::end(kLayouts) && static_cast<int32_t>(width) >= row->channels;
    return isWideEnough ? row : nullptr;
}

MatrixDecoderBlock::MatrixDecoderBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kMatrixDecoderBlockTypeId;
    StartAfreshByClearing<MatrixDecoderBlock>();
    decoder.state = decoderMemory;
    renderer.memory = rendererMemory;
}

int32_t MatrixDecoderBlock::GetInputChannels() const {
    return static_cast<int32_t>(inputChannels);
}

int32_t MatrixDecoderBlock::GetOutputChannels() const {
    return 2;
}

uint32_t MatrixDecoderBlock::GetChannelMask() const {
    return kStereo;
}

void MatrixDecoderBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    renderer.rateCode = StereoRendererRateCode(rate);
    renderer.sampleRate = rate;
    SetUpDecoder();
    StartFromSilence();
}

// The stage takes the words up with the next frames; a glide leads from the old ones to the new.
void MatrixDecoderBlock::SetUpDecoder() {
    decoderChanged = decoderReady = false;
    if (settings.decodeMode >= std::size(kModes)) return;
    const auto* rate = std::ranges::find(kDecoderRates, sampleRate);
    if (rate == std::end(kDecoderRates)) return;
    decoderReady = true;
    const Mode& mode = kModes[settings.decodeMode];
    const auto rateCode = static_cast<uint32_t>(rate - kDecoderRates);
    decoder.modeWord = static_cast<uint16_t>(rateCode << 12 | mode.code << 5 | kModeWordBase);
    decoder.flagsWord = FlagsWord(settings, mode);
    const Layout* const layout = FindLayout(inputChannels, channelMask);
    decoder.outputs = layout ? layout->outputs : DecoderOutputs::All;
}

void MatrixDecoderBlock::StartFromSilence() {
    RunMatrixDecoder(kDecoderInitialise, &decoder);
    decodedDelays.Drop();
    discreteDelays.Drop();
    decoderRested = false;
}

void MatrixDecoderBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (frames < 1) return;
    if (settings.decodeEnabled != 0 && Decode(in, frames))
        return Render(decoded.data, kDecodedChannels, kDecodedMask, out, frames);
    decoderRested = true;
    Render(in, inputChannels, channelMask, out, frames);
}

void MatrixDecoderBlock::Render(const float* in, uint32_t width, uint32_t mask, float* out,
                                int32_t frames) {
    const RendererInput* const input = FindRendererInput(mask);
    const auto channelsIn = static_cast<int32_t>(width);
    isMute = !input || channelsIn < input->inputChannels;
    if (isMute) return;
    renderer.inputChannels = RendererChannels(mask, channelsIn);
    isMute = !rendererInput.Grow(BufferBytes(frames, renderer.inputChannels));
    if (isMute) return;
    ConvertForRenderer(*input, in, channelsIn, rendererInput.data, renderer.inputChannels, frames);
    RenderStereo(renderer, rendererInput.data, out, frames);
    for (int64_t i = 0; i < int64_t{2} * frames; ++i)
        out[i] *= kOutputGain;
}

// A pending set-up is not tried for a decoder that is not ready.
bool MatrixDecoderBlock::Decode(const float* in, int32_t frames) {
    if (!decoderReady) return false;
    const Layout* const layout = FindLayout(inputChannels, channelMask);
    if (!layout) return false;
    if (decoderChanged) SetUpDecoder();
    if (decoderRested) StartFromSilence();
    if (!decoded.Grow(BufferBytes(frames, kDecodedChannels))) {
        decoderReady = false;
        return false;
    }
    BuildDelays(*layout);
    RunDecoder(*layout, in, frames);
    if (settings.delaysEnabled != 0) decodedDelays.Process(decoded.data, frames);
    if (layout->kept > 0) JoinDiscreteChannels(*layout, in, frames);
    return true;
}

void MatrixDecoderBlock::BuildDelays(const Layout& layout) {
    DelayLines::Delays delays{};
    if (settings.decodeMode < std::size(settings.outputDelaysMs))
        std::memcpy(delays.data(), settings.outputDelaysMs[settings.decodeMode], sizeof(delays));
    decodedDelays.Build(delays, sampleRate);
    if (layout.kept == 0) return;
    delays = {};
    std::fill_n(delays.begin(), layout.kept, kDiscreteDelayMs);
    discreteDelays.Build(delays, sampleRate);
}

void MatrixDecoderBlock::RunDecoder(const Layout& layout, const float* in, int32_t frames) {
    const auto width = static_cast<int32_t>(inputChannels);
    float* frame = decoded.data;
    const float* pair = in + layout.pair;
    for (int32_t f = 0; f < frames; ++f, frame += kDecodedChannels, pair += width) {
        const float left = pair[0], right = pair[1];
        std::fill_n(frame, kDecodedChannels, 0.0f);
        frame[kFrontLeft] = left;
        frame[kFrontRight] = right;
    }
    for (int32_t c = 0; c < kDecoderChannels; ++c)
        decoder.channels[c] = decoded.data + kStageSlots[c];
    decoder.frames = static_cast<int16_t>(frames);
    RunMatrixDecoder(kDecoderProcess, &decoder);
}

void MatrixDecoderBlock::JoinDiscreteChannels(const Layout& layout, const float* in,
                                              int32_t frames) {
    const auto width = static_cast<int32_t>(inputChannels);
    float* frame = decoded.data;
    for (int32_t f = 0; f < frames; ++f, frame += kDecodedChannels, in += width) {
        frame[layout.sidesTo] = frame[kSideLeft];
        frame[layout.sidesTo + 1] = frame[kSideRight];
        frame[kSideLeft] = frame[kFrontLeft];
        frame[kSideRight] = frame[kFrontRight];
        std::copy_n(in, layout.kept, frame);
    }
    discreteDelays.Process(decoded.data, frames);
}

// The delay lines are built anew by the next Process, in the memory that they have.
void MatrixDecoderBlock::ClearState() QUORVEL_REAL_TIME {
    StartFromSilence();
    std::fill_n(rendererMemory, kStereoRendererClearedMemory, std::byte{0});
    decoded.Silence();
    rendererInput.Silence();
}

bool MatrixDecoderBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(MatrixDecoderParameters)) return false;
    return SetParameters(data);
}

bool MatrixDecoderBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto wanted = ReadRecord<MatrixDecoderParameters>(record);
    if (std::memcmp(&wanted, &settings, kOptionBytes)) decoderChanged = true;
    settings = wanted;
    return true;
}

}  // namespace quorvel
