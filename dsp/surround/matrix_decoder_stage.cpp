#include "dsp/surround/matrix_decoder_stage.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <type_traits>

#include "base/math/logarithm.h"
#include "dsp/surround/band_matrix.h"
#include "dsp/surround/clean_sample.h"
#include "dsp/surround/faded.h"
#include "dsp/surround/pair_balance.h"
#include "dsp/surround/rear_low_pass.h"
#include "dsp/surround/steering.h"

namespace quorvel {
namespace {

constexpr uint32_t kInitialised = 0x6D617472;  // stands in no cleared memory
constexpr double kTicksPerSecond = 3000.0;
constexpr int32_t kLongestTick = 64;  // frames: at 192 kHz
constexpr double kGlideSeconds = 0.04;

constexpr float kUsualTrim = 1.4125375f;

// What stands in the state memory. Zeros: nothing is initialised.
struct Decoder {
    uint32_t initialised = 0;
    uint16_t modeWord = 0;
    uint16_t flagsWord = 0;
    DecoderOutputs outputs = DecoderOutputs::All;
    float trim = 0.0f;
    float balanceRangeDb = 0.0f;
    int32_t isBalancing = 0;
    int32_t tickFrames = 0;
    int32_t framesToTick = 0;
    int32_t glideTicks = 0;      // of a whole glide to new options
    int32_t glideTicksLeft = 0;  // of this one; 0: none
    float tickSeconds = 0.0f;
    SourceImageOptions images{};
    PassiveMatrix passive{};
    SteeringRates rates[kBandCount] = {};
    PairBalance balance{};
    QuadratureBands bands{};
    BandSteering steering[kBandCount] = {};
    BandMatrix matrices[kBandCount] = {};
    RearLowPass rearLowPass{};
};
static_assert(std::is_trivially_copyable_v<Decoder>);
static_assert(sizeof(Decoder) <= kMatrixDecoderMemory);
static_assert(alignof(Decoder) == alignof(float));

// What one stretch of frames is calculated in.
struct Stretch {
    float pairs[kLongestTick][2];
    BandFrame bands[kBandCount][kLongestTick];
    SpeakerImage outputs[kLongestTick];
};

float* Channel(const MatrixDecoderConfiguration& configuration, DecoderChannel channel) {
    return configuration.channels[static_cast<int32_t>(channel)];
}

void SetTrim(Decoder& decoder, float trim) {
    decoder.trim = trim;
    const bool isUsable = trim >= 1.0f && trim <= 2.0f;
    decoder.balanceRangeDb =
        20.0f * static_cast<float>(math::Log10(double{isUsable ? trim : kUsualTrim}));
}

DecoderOptions OptionsOf(const MatrixDecoderConfiguration& words) {
    return ReadDecoderOptions(words.modeWord, words.flagsWord, words.outputs);
}

DecoderOptions OptionsOf(const Decoder& decoder) {
    return ReadDecoderOptions(decoder.modeWord, decoder.flagsWord, decoder.outputs);
}

void SetOptions(Decoder& decoder, const DecoderOptions& options) {
    decoder.isBalancing = options.balances;
    decoder.images = MakeSourceImageOptions(options);
    decoder.passive = MakePassiveMatrix(options);
    for (int32_t b = 0; b < kBandCount; ++b)
        decoder.rates[b] =
            MakeSteeringRates(b, options.sampleRate, decoder.tickFrames, options.isBrisk);
}

void Initialise(Decoder& decoder, const MatrixDecoderConfiguration& configuration) {
    decoder = Decoder{};
    const DecoderOptions options = OptionsOf(configuration);
    decoder.initialised = kInitialised;
    decoder.modeWord = configuration.modeWord;
    decoder.flagsWord = configuration.flagsWord;
    decoder.outputs = configuration.outputs;
    decoder.tickFrames = static_cast<int32_t>(std::lround(options.sampleRate / kTicksPerSecond));
    decoder.framesToTick = decoder.tickFrames;
    decoder.tickSeconds = static_cast<float>(decoder.tickFrames / options.sampleRate);
    decoder.glideTicks = static_cast<int32_t>(kGlideSeconds / decoder.tickSeconds);
    SetTrim(decoder, configuration.trim);
    SetOptions(decoder, options);
    decoder.bands.SetUp(options.sampleRate);
    decoder.rearLowPass.SetUp(options.sampleRate, options.mode == DecoderMode::Classic);
    for (BandMatrix& matrix : decoder.matrices)
        matrix.Rest(decoder.passive);
}

void TakeUpWords(Decoder& decoder, const MatrixDecoderConfiguration& configuration) {
    const DecoderOptions before = OptionsOf(decoder), options = OptionsOf(configuration);
    if (before.sampleRate != options.sampleRate) return Initialise(decoder, configuration);
    decoder.modeWord = configuration.modeWord;
    decoder.flagsWord = configuration.flagsWord;
    if (before == options) return;
    SetOptions(decoder, options);
    decoder.glideTicksLeft = decoder.glideTicks;
}

void TakeUpChanges(Decoder& decoder, const MatrixDecoderConfiguration& configuration) {
    if (decoder.initialised != kInitialised || decoder.outputs != configuration.outputs)
        return Initialise(decoder, configuration);
    if (decoder.trim != configuration.trim) SetTrim(decoder, configuration.trim);
    if (decoder.modeWord != configuration.modeWord || decoder.flagsWord != configuration.flagsWord)
        TakeUpWords(decoder, configuration);
}

void ReadPairs(const Decoder& decoder, const MatrixDecoderConfiguration& configuration,
               std::ptrdiff_t start, Stretch& stretch, int32_t frames) {
    const float* left = Channel(configuration, DecoderChannel::FrontLeft) + start;
    const float* right = Channel(configuration, DecoderChannel::FrontRight) + start;
    for (int32_t f = 0; f < frames; ++f) {
        stretch.pairs[f][0] =
            CleanSample(left[f * kMatrixDecoderStride]) * decoder.balance.leftGain;
        stretch.pairs[f][1] =
            CleanSample(right[f * kMatrixDecoderStride]) * decoder.balance.rightGain;
    }
}

void WriteChannel(float* to, const float* from, int32_t frames) {
    constexpr std::ptrdiff_t kOutputStride = sizeof(SpeakerImage) / sizeof(float);
    for (int32_t f = 0; f < frames; ++f)
        to[f * kMatrixDecoderStride] = from[f * kOutputStride];
}

void WriteOutputs(const MatrixDecoderConfiguration& configuration, std::ptrdiff_t start,
                  const Stretch& stretch, int32_t frames) {
    using enum DecoderChannel;
    constexpr DecoderChannel kFronts[] = {FrontLeft, FrontRight, FrontCentre};
    constexpr DecoderChannel kRears[][4] = {{SideLeft, SideRight, BackLeft, BackRight},
                                            {BackLeft, BackRight, SideLeft, SideRight}};
    const auto& rears = kRears[configuration.outputs == DecoderOutputs::FrontAndSides ? 1 : 0];
    const SpeakerImage& first = stretch.outputs[0];
    for (int i = 0; i < 3; ++i)
        WriteChannel(Channel(configuration, kFronts[i]) + start, first.front + i, frames);
    for (int i = 0; i < 4; ++i)
        WriteChannel(Channel(configuration, rears[i]) + start, first.rear + i, frames);
    WriteChannel(Channel(configuration, LowFrequency) + start, first.front + 3, frames);
}

// Which share of the way to its goal a matrix goes in this tick. During a glide the shares lead
// there on a smooth step, whose gentle ends are not heard.
float NextPace(Decoder& decoder) {
    if (decoder.glideTicksLeft == 0) return 1.0f;
    const auto done = [&] {
        const auto left = static_cast<float>(decoder.glideTicksLeft);
        return SmoothStep(left, static_cast<float>(decoder.glideTicks), 0.0f);
    };
    const float before = done();
    --decoder.glideTicksLeft;
    return (done() - before) / (1.0f - before);
}

void Tick(Decoder& decoder) {
    decoder.framesToTick = decoder.tickFrames;
    const float pace = NextPace(decoder);
    for (int32_t b = 0; b < kBandCount; ++b) {
        BandSteering& steering = decoder.steering[b];
        steering.Follow(decoder.rates[b]);
        decoder.matrices[b].Aim(decoder.passive, decoder.images, steering.x, steering.y,
                                decoder.tickFrames, pace);
    }
    decoder.balance.Follow(decoder.steering[1], decoder.balanceRangeDb, decoder.isBalancing != 0,
                           decoder.tickSeconds);
    decoder.bands.DropFaded();
    decoder.rearLowPass.DropFaded();
}

// `start` is where the stretch begins in each channel.
void ProcessStretch(Decoder& decoder, const MatrixDecoderConfiguration& configuration,
                    std::ptrdiff_t start, int32_t frames) {
    Stretch stretch;
    BandFrame* const bands[kBandCount] = {stretch.bands[0], stretch.bands[1], stretch.bands[2]};
    ReadPairs(decoder, configuration, start, stretch, frames);
    decoder.bands.Divide(stretch.pairs[0], bands, frames);
    std::fill_n(stretch.outputs, frames, SpeakerImage{});
    for (int32_t b = 0; b < kBandCount; ++b) {
        decoder.steering[b].Listen(decoder.rates[b], bands[b], frames);
        decoder.matrices[b].Apply(bands[b], stretch.outputs, frames);
    }
    decoder.rearLowPass.Apply(stretch.outputs, frames, decoder.images.mode == DecoderMode::Classic);
    WriteOutputs(configuration, start, stretch, frames);
}

void Process(Decoder& decoder, const MatrixDecoderConfiguration& configuration) {
    int32_t done = 0;
    while (done < configuration.frames) {
        const int32_t count = std::min(configuration.frames - done, decoder.framesToTick);
        ProcessStretch(decoder, configuration, std::ptrdiff_t{done} * kMatrixDecoderStride, count);
        done += count;
        decoder.framesToTick -= count;
        if (decoder.framesToTick == 0) Tick(decoder);
    }
}

}  // namespace

bool RunMatrixDecoder(int32_t command,
                      const MatrixDecoderConfiguration* configuration) QUORVEL_REAL_TIME {
    if (!configuration || !configuration->state) return false;
    auto& decoder = *std::launder(reinterpret_cast<Decoder*>(configuration->state));
    switch (command) {
        case kDecoderInitialise:
            Initialise(decoder, *configuration);
            return true;
        case kDecoderProcess:
            if (std::ranges::count(configuration->channels, nullptr) > 0) return false;
            TakeUpChanges(decoder, *configuration);
            Process(decoder, *configuration);
            return true;
        default:
            return false;
    }
}

}  // namespace quorvel
