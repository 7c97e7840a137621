#include "blocks/external_surround_block.h"

#include <algorithm>
#include <array>
#include <utility>

#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr std::size_t kPositions = 8;
using Angles = std::array<float, kPositions>;  // degrees

constexpr int32_t kStereoConfiguration = 1;
constexpr float kMonoGain = 0.70794576f;  // 10^(-3/20)
constexpr float kPostGain = 1.2589254f;   // 10^(2/20)

// Speaker configurations by number of channels; 0: none.
constexpr std::array<int32_t, 9> kConfigurations = {0, 1, 1, 0, 2, 0, 3, 0, 4};

// Usual angles of the speakers, by configuration.
constexpr std::array<Angles, 5> kPresetAngles = {{{},
                                                  {75, -75},
                                                  {30, -30, 110, -110},
                                                  {30, -30, 0, 0, 110, -110},
                                                  {30, -30, 0, 0, 150, -150, 90, -90}}};

constexpr std::array<TypedFilterBand, 2> kPostBands = {
    {{{1200.0f, 0.707f, BandwidthMode::Octaves, 3.0f}, FilterType::PeakingEQ},
     {{4500.0f, 1.0f, BandwidthMode::ShelfSlope, 3.0f}, FilterType::HighShelf}}};

void WriteSilence(float* out, int32_t frames) {
    std::fill_n(out, std::ptrdiff_t{2} * frames, 0.0f);
}

}  // namespace

ExternalSurroundBlock::ExternalSurroundBlock(const GUID& instanceId)
    : ExternalSurroundBlock(instanceId, CreateExternalEngine()) {}

ExternalSurroundBlock::ExternalSurroundBlock(const GUID& instanceId, ExternalEngine otherEngine)
    : AudioBlock(instanceId), engine(std::move(otherEngine)) {
    typeId = kExternalSurroundBlockTypeId;
    StartAfreshByClearing<ExternalSurroundBlock>();
    postEq.ConfigureTyped(kPostBands);
}

int32_t ExternalSurroundBlock::GetOutputChannels() const {
    return 2;
}

uint32_t ExternalSurroundBlock::GetChannelMask() const {
    return 0x3;
}

bool ExternalSurroundBlock::CanProcessInPlace() const {
    return false;
}

void ExternalSurroundBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    if (!engine) return;
    engine->SetSampleRate(rate);
    formatOk = AcceptWidth();
    SendSpeakerAngles();
}

// A refusal leaves the configuration as it was.
bool ExternalSurroundBlock::AcceptWidth() {
    const int32_t code = channels < kConfigurations.size() ? kConfigurations[channels] : 0;
    if (code == 0 || engine->SetSpeakerConfiguration(code) != 0) return false;
    speakerConfiguration = code;
    return true;
}

void ExternalSurroundBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (frames < 1) return;
    if (!formatOk) return WriteSilence(out, frames);
    const float* engineInput = channels == 1 ? SpreadMono(in, frames)
                               : in == out   ? CopyInput(in, frames)
                                             : in;
    if (!engineInput) return WriteSilence(out, frames);
    engine->Render(engineInput, frames, out);
    if (settings.effectEnabled) RunPostStage(out, frames);
}

// Null when there is no memory.
const float* ExternalSurroundBlock::SpreadMono(const float* in, int32_t frames) {
    if (!scratch.Grow(BufferBytes(frames, 2))) return nullptr;
    float* pair = scratch.data;
    for (int32_t f = 0; f < frames; ++f, pair += 2)
        pair[0] = pair[1] = in[f] * kMonoGain;
    return scratch.data;
}

// A graph's input and output may be one buffer, and several inputs are summed in the output; the
// engine wants two. Null when there is no memory.
const float* ExternalSurroundBlock::CopyInput(const float* in, int32_t frames) {
    const auto width = static_cast<int32_t>(channels);
    if (!scratch.Grow(BufferBytes(frames, width))) return nullptr;
    std::copy_n(in, std::ptrdiff_t{frames} * width, scratch.data);
    return scratch.data;
}

void ExternalSurroundBlock::RunPostStage(float* out, int32_t frames) {
    if (speakerConfiguration == kStereoConfiguration) postEq.Process(out, out, frames, 2);
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{2} * frames; ++i)
        out[i] *= kPostGain;
}

void ExternalSurroundBlock::ClearState() QUORVEL_REAL_TIME {
    postEq.ClearPast();
    scratch.Silence();
    if (!engine || !formatOk) return;
    if (settings.effectEnabled) engine->SetEffectEnabled(0);
    engine->SetSampleRate(static_cast<int32_t>(sampleRate));
    engine->SetSpeakerConfiguration(speakerConfiguration);
    if (settings.effectEnabled) engine->SetEffectEnabled(1);
    SendSpeakerAngles();
}

bool ExternalSurroundBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(ExternalSurroundParameters)) return false;
    return SetParameters(data);
}

bool ExternalSurroundBlock::SetParameters(const void* record) {
    if (!record) return false;
    settings = ReadRecord<ExternalSurroundParameters>(record);
    if (engine) SendParameters();
    return true;
}

void ExternalSurroundBlock::SendParameters() {
    // Out of the packed record, for an engine that wants its floats aligned.
    Angles channelValues;
    std::memcpy(channelValues.data(), settings.channelValues, sizeof(channelValues));
    engine->SetSwitchB(settings.switchB != 0);
    engine->SetValueA(settings.valueA);
    engine->SetEffectEnabled(settings.effectEnabled != 0);
    engine->SetChannelValues(channelValues.data());
    engine->SetValueB(settings.valueB);
    SendSpeakerAngles();
}

void ExternalSurroundBlock::SendSpeakerAngles() {
    Angles angles = kPresetAngles[static_cast<std::size_t>(speakerConfiguration)];
    for (std::size_t i = 0; i < kPositions && !settings.usePresetAngles; ++i)
        angles[i] = settings.customAngles[i];
    engine->SetSpeakerAngles(angles.data());
}

}  // namespace quorvel
