#include "authoring/document/parameter_fields.h"

#include <cstddef>

#include "blocks/bypass_block.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/compressor_block.h"
#include "blocks/external_surround_block.h"
#include "blocks/gain_block.h"
#include "blocks/limiter_block.h"
#include "blocks/matrix_decoder_block.h"
#include "blocks/noise_gate_block.h"
#include "blocks/stereo_expander_block.h"
#include "blocks/stream_expander_block.h"
#include "blocks/surround_block.h"
#include "dsp/biquad/filter_band.h"
#include "engine/limits.h"
#include "kinds/block_type_ids.h"

namespace quorvel::tool {
namespace {

using enum FieldKind;

// A record can hold any number. The ranges below are those that make sense to the ear, with room:
// a value outside is more likely a slip of the pen, and `data` still gives it to whoever means it,
// as far as a processing object takes it (engine/limits.h).
constexpr double kQuietestDb = -144.0;  // the step of 24 bits
constexpr double kLoudestDb = 60.0;
constexpr double kLongestAttackMs = 10000.0;
constexpr double kLongestReleaseMs = 60000.0;
constexpr double kMostChannels = 8.0;
constexpr double kMostBands = limits::kMostBands;
constexpr double kMostOffsets = limits::kMostBlocks;  // one for each input
constexpr double kLongestDelayMs = limits::kLongestDelayMs;

constexpr const char* kWidthModes[] = {"Q", "Octaves", "ShelfSlope"};

// Every filter reads the gain of a band, but it is heard only in peaking and shelving filters.
constexpr Field BandField(std::optional<double> defaultGainDb) {
    return {"gainDb", kFloat32, offsetof(FilterBand, gainDb), "dB", -60.0, 60.0, defaultGainDb};
}
constexpr Field kFrequency = {"frequency", kFloat32, offsetof(FilterBand, frequency),
                              "Hz",        1.0,      192000.0};
constexpr Field WidthField(const char* meaning) {
    return {"width", kFloat32, offsetof(FilterBand, width), "", 0.001, 1000.0, {}, {}, nullptr,
            {},      meaning};
}
constexpr Field kWidth =
    WidthField("by `widthMode`: Q factor, bandwidth in octaves, or slope as of a shelf");
constexpr Field kShelfWidth = WidthField("without effect: shelves always have the slope 1");
constexpr Field kWidthMode = {
    "widthMode", kChoice16, offsetof(FilterBand, widthMode), "", 0.0, 2.0, 0.0, kWidthModes};

constexpr Field kBandFields[] = {kFrequency, kWidth, kWidthMode, BandField(0.0)};
constexpr Field kGainBandFields[] = {kFrequency, kWidth, kWidthMode, BandField({})};
constexpr Field kShelfBandFields[] = {kFrequency, kShelfWidth, kWidthMode, BandField({})};
constexpr RecordLayout kShelfBand = {kShelfBandFields, sizeof(FilterBand)};
constexpr RecordLayout kBand = {kBandFields, sizeof(FilterBand)};
constexpr RecordLayout kGainBand = {kGainBandFields, sizeof(FilterBand)};

constexpr Field kBandsField[] = {{"bands", kList, 0, "", 1.0, kMostBands, {}, {}, &kBand}};
constexpr Field kGainBandsField[] = {{"bands", kList, 0, "", 1.0, kMostBands, {}, {}, &kGainBand}};
constexpr Field kShelfBandsField[] = {
    {"bands", kList, 0, "", 1.0, kMostBands, {}, {}, &kShelfBand}};
constexpr RecordLayout kShelfFilter = {kShelfBandsField, sizeof(std::uint32_t)};
constexpr RecordLayout kFilter = {kBandsField, sizeof(std::uint32_t)};
constexpr RecordLayout kGainFilter = {kGainBandsField, sizeof(std::uint32_t)};

constexpr Field kBypassFields[] = {
    {"outputChannelCount",
     kUnsigned32,
     offsetof(BypassParameters, outputChannelCount),
     "channels",
     1.0,
     2.0,
     2.0,
     {},
     nullptr,
     {},
     "of mono, stereo, quad, 5.1 and 7.1; other layouts have no fold-down"}};

constexpr Field kExtractorFields[] = {{"channelIndex", kSigned32,
                                       offsetof(ChannelExtractorParameters, channelIndex), "", 0.0,
                                       kMostChannels - 1.0, 0.0}};

// An offset of -1 leaves the input out.
constexpr Field kOffsetField[] = {{nullptr, kSigned32, 0, "", -1.0, kMostChannels - 1.0}};
constexpr RecordLayout kOffset = {kOffsetField, sizeof(std::int32_t)};
constexpr Field kCombinerFields[] = {
    {"channelOffsets",
     kList,
     offsetof(ChannelsCombinerParameters, count),
     "",
     1.0,
     kMostOffsets,
     {},
     {},
     &kOffset,
     {},
     "the channel at which each input begins, by input; a negative one leaves it out"}};

// Nobody here knows what the engine makes of its values.
constexpr double kLargestEngineValue = 1000.0;
constexpr const char* kForTheEngine = "handed to the engine as it is";
constexpr Field EngineValue(const char* name, std::uint32_t offset, double defaultValue) {
    return {name,         kFloat32, offset,  "", -kLargestEngineValue, kLargestEngineValue,
            defaultValue, {},       nullptr, {}, kForTheEngine};
}
constexpr Field Switch(const char* name, std::uint32_t offset, double defaultValue,
                       const char* meaning = "") {
    return {name, kUnsigned32, offset, "", 0.0, 1.0, defaultValue, {}, nullptr, {}, meaning};
}
constexpr Field kAngleField[] = {{nullptr, kSigned16, 0, "degrees", -180.0, 180.0}};
constexpr RecordLayout kAngle = {kAngleField, sizeof(std::int16_t)};
constexpr Field kChannelValueField[] = {
    {nullptr, kFloat32, 0, "", -kLargestEngineValue, kLargestEngineValue}};
constexpr RecordLayout kChannelValue = {kChannelValueField, sizeof(float)};
constexpr double kUsualAngles[] = {30, -30, 0, 0, 150, -150, 90, -90};
constexpr double kUsualValues[] = {1, 1, 1, 1, 1, 1, 1, 1};

constexpr Field PerChannel(const char* name, std::uint32_t offset, const RecordLayout& item,
                           std::span<const double> defaults, const char* meaning) {
    return {name, kArray, offset, "",       kMostChannels, kMostChannels,
            {},   {},     &item,  defaults, meaning};
}
constexpr Field kExternalSurroundFields[] = {
    Switch("effectEnabled", offsetof(ExternalSurroundParameters, effectEnabled), 0.0,
           "renders; else the engine only folds down"),
    Switch("switchB", offsetof(ExternalSurroundParameters, switchB), 1.0, kForTheEngine),
    EngineValue("valueA", offsetof(ExternalSurroundParameters, valueA), 0.15),
    Switch("usePresetAngles", offsetof(ExternalSurroundParameters, usePresetAngles), 1.0,
           "the usual places of the speakers, else `customAngles`"),
    PerChannel("customAngles", offsetof(ExternalSurroundParameters, customAngles), kAngle,
               kUsualAngles, "of the speakers by channel, to the left of straight ahead"),
    PerChannel("channelValues", offsetof(ExternalSurroundParameters, channelValues), kChannelValue,
               kUsualValues, "gain of each channel"),
    EngineValue("valueB", offsetof(ExternalSurroundParameters, valueB), 1.0)};

constexpr Field kGainFields[] = {
    {"gainDb", kFloat32, offsetof(GainParameters, gainDb), "dB", kQuietestDb, kLoudestDb, 0.0}};

constexpr Field Nested(const char* name, std::uint32_t offset, const RecordLayout& record) {
    return {name, kRecord, offset, "", 0.0, 0.0, {}, {}, &record};
}
constexpr Field ExpanderGain(const char* name, std::uint32_t offset, const char* meaning) {
    return {name, kFloat32, offset, "dB", kQuietestDb, kLoudestDb, 0.0, {}, nullptr, {}, meaning};
}
constexpr Field kStereoExpanderFields[] = {
    ExpanderGain("inputGainDb", offsetof(StereoExpanderParameters, inputGainDb),
                 "of the pair before all else"),
    ExpanderGain("directGainDb", offsetof(StereoExpanderParameters, directGainDb),
                 "of each side as it is"),
    ExpanderGain("highSumGainDb", offsetof(StereoExpanderParameters, highSumGainDb),
                 "of both sides' highs together, added to each side's highs"),
    ExpanderGain("lowGainDb", offsetof(StereoExpanderParameters, lowGainDb),
                 "of each side below `lowPassBand`"),
    ExpanderGain("highGainDb", offsetof(StereoExpanderParameters, highGainDb),
                 "of the highs above `highPassBand`"),
    Nested("lowPassBand", offsetof(StereoExpanderParameters, lowPassBand), kBand),
    Nested("highPassBand", offsetof(StereoExpanderParameters, highPassBand), kBand)};

constexpr Field kDelayField[] = {{nullptr, kUnsigned32, 0, "ms", 0.0, kLongestDelayMs}};
constexpr RecordLayout kDelay = {kDelayField, sizeof(std::uint32_t)};
constexpr double kNoDelays[] = {0, 0, 0, 0, 0, 0, 0, 0};
constexpr double kRearDelays[] = {0, 0, 0, 0, 10, 10, 10, 10};
constexpr std::uint32_t kDelaysSize = sizeof(MatrixDecoderParameters::outputDelaysMs);
constexpr const char* kDelayMeaning = "FL FR FC LFE BL BR SL SR, in this `decodeMode`";
constexpr Field kDelaysFields[] = {
    PerChannel("mode0", 0, kDelay, kNoDelays, kDelayMeaning),
    PerChannel("mode1", kDelaysSize / 3, kDelay, kRearDelays, kDelayMeaning),
    PerChannel("mode2", 2 * kDelaysSize / 3, kDelay, kNoDelays, kDelayMeaning),
};
constexpr RecordLayout kDelays = {kDelaysFields, kDelaysSize};

constexpr Field Option(const char* name, std::uint32_t offset, double maximum, double defaultValue,
                       const char* meaning) {
    return {name, kUnsigned32, offset, "", 0.0, maximum, defaultValue, {}, nullptr, {}, meaning};
}
constexpr Field kMatrixDecoderFields[] = {
    Switch("decodeEnabled", offsetof(MatrixDecoderParameters, decodeEnabled), 1.0,
           "decodes stereo, and the surround pair of quad and 5.1, whose sources stay in their "
           "places"),
    Option("decodeMode", offsetof(MatrixDecoderParameters, decodeMode), 2.0, 0.0,
           "0: one rear signal; 1: separate sides and backs; 2: as 1, with options 2 to 4"),
    Option("option2", offsetof(MatrixDecoderParameters, option2), 15.0, 0.0,
           "mode 2: rear share of ambience in anti-phase, 40 % at 7, 5 % a step"),
    Option(
        "option3", offsetof(MatrixDecoderParameters, option3), 15.0, 7.0,
        "mode 2, stereo: spread of the front; 0 has a centre, from 7 on the pair stays as it is"),
    Switch("option4", offsetof(MatrixDecoderParameters, option4), 0.0,
           "mode 2, stereo: the edges of the front reach around to the sides"),
    Switch("option5", offsetof(MatrixDecoderParameters, option5), 1.0,
           "balances the levels of the pair"),
    Switch("option6", offsetof(MatrixDecoderParameters, option6), 0.0,
           "small moves are followed twice as fast"),
    Switch("option7", offsetof(MatrixDecoderParameters, option7), 0.0,
           "modes 1 and 2, stereo: surround from the back pair only"),
    Switch("delaysEnabled", offsetof(MatrixDecoderParameters, delaysEnabled), 1.0,
           "delays the decoded channels by their mode's row below"),
    Nested("outputDelaysMs", offsetof(MatrixDecoderParameters, outputDelaysMs), kDelays)};
constexpr RecordLayout kMatrixDecoder = {kMatrixDecoderFields, sizeof(MatrixDecoderParameters)};

constexpr Field kSurroundFields[] = {
    {"surroundOn", kSigned32, offsetof(SurroundParameters, surroundOn), "", 0.0, 1.0, 1.0},
    Nested("decoderParameters", offsetof(SurroundParameters, decoderParameters), kMatrixDecoder)};

constexpr Field kExpanderFields[] = {
    {"targetChannels", kUnsigned32, offsetof(StreamExpanderParameters, targetChannels), "channels",
     0.0, kMostChannels, 0.0},
    {"monoMode",
     kUnsigned32,
     offsetof(StreamExpanderParameters, monoMode),
     "",
     0.0,
     2.0,
     0.0,
     {},
     nullptr,
     {},
     "of a mono input: 0 new channels are silent; 1 all get it; 2 two get it at -3 dB"}};

constexpr Field Threshold(std::uint32_t offset) {
    return {"thresholdDb",
            kFloat32,
            offset,
            "dB",
            kQuietestDb,
            kLoudestDb,
            0.0,
            {},
            nullptr,
            {},
            "peak level of full scale, of the loudest channel"};
}
constexpr Field Attack(std::uint32_t offset, double defaultMs, double longestMs = kLongestAttackMs,
                       const char* meaning = "time constant") {
    return {"attackMs", kUnsigned32, offset,  "ms", 0.0,    longestMs,
            defaultMs,  {},          nullptr, {},   meaning};
}
constexpr Field Release(std::uint32_t offset, double defaultMs) {
    return {"releaseMs", kUnsigned32, offset, "ms",           0.0, kLongestReleaseMs, defaultMs,
            {},          nullptr,     {},     "time constant"};
}

// A ratio of 0 would act as 1, the opposite of what it looks like: it is out of range.
constexpr Field kCompressorFields[] = {Threshold(offsetof(CompressorParameters, thresholdDb)),
                                       Attack(offsetof(CompressorParameters, attackMs), 10.0),
                                       Release(offsetof(CompressorParameters, releaseMs), 100.0),
                                       {"ratio",
                                        kFloat32,
                                        offsetof(CompressorParameters, ratio),
                                        "",
                                        0.001,
                                        100.0,
                                        1.0,
                                        {},
                                        nullptr,
                                        {},
                                        "dB of output for a dB of input above the threshold"}};

constexpr Field kGateFields[] = {Threshold(offsetof(NoiseGateParameters, thresholdDb)),
                                 Attack(offsetof(NoiseGateParameters, attackMs), 1.0),
                                 Release(offsetof(NoiseGateParameters, releaseMs), 100.0)};

constexpr Field kLimiterFields[] = {
    Threshold(offsetof(LimiterParameters, thresholdDb)),
    Attack(offsetof(LimiterParameters, attackMs), 1.0, kLongestDelayMs,
           "look-ahead, by which the sound is late"),
    Release(offsetof(LimiterParameters, releaseMs), 10.0)};

constexpr BlockFields kBlocks[] = {
    {&kBandPassFilterBlockTypeId, "band-pass",
     "Filters that pass what lies around a frequency, in series", kFilter},
    {&kBypassBlockTypeId,
     "bypass",
     "Passes the sound, folded down to as many channels as asked for",
     {kBypassFields, sizeof(BypassParameters)}},
    {&kChannelExtractorBlockTypeId,
     "extractor",
     "One channel of the input by itself",
     {kExtractorFields, sizeof(ChannelExtractorParameters)}},
    {&kChannelsCombinerBlockTypeId,
     "combiner",
     "Lays its inputs side by side, each from a channel of its own",
     {kCombinerFields, sizeof(ChannelsCombinerParameters)}},
    {&kCompressorBlockTypeId,
     "compressor",
     "Holds loud sound back: above the threshold the output rises `ratio` dB a dB",
     {kCompressorFields, sizeof(CompressorParameters)}},
    {&kExternalSurroundBlockTypeId,
     "external-surround",
     "Surround on headphones by an engine from outside; two channels out",
     {kExternalSurroundFields, sizeof(ExternalSurroundParameters)}},
    {&kGainBlockTypeId, "gain", "Makes louder or quieter", {kGainFields, sizeof(GainParameters)}},
    {&kHighPassFilterBlockTypeId, "high-pass",
     "Filters that pass what lies above a frequency, in series", kFilter},
    {&kHighShelfFilterBlockTypeId, "high-shelf",
     "Filters that raise or lower what lies above a frequency, in series", kShelfFilter},
    {&kLimiterBlockTypeId,
     "limiter",
     "Lets nothing above the threshold pass; the sound comes out `attackMs` later",
     {kLimiterFields, sizeof(LimiterParameters)}},
    {&kLowPassFilterBlockTypeId, "low-pass",
     "Filters that pass what lies below a frequency, in series", kFilter},
    {&kLowShelfFilterBlockTypeId, "low-shelf",
     "Filters that raise or lower what lies below a frequency, in series", kShelfFilter},
    {&kMatrixDecoderBlockTypeId, "decoder",
     "Surround and stereo on headphones: a matrix decoder (when `decodeEnabled`) before a "
     "renderer; two channels out",
     kMatrixDecoder},
    {&kMixerBlockTypeId, "mixer", "Adds its inputs", {}},
    {&kNoiseGateBlockTypeId,
     "gate",
     "Silences what stays below the threshold",
     {kGateFields, sizeof(NoiseGateParameters)}},
    {&kNotchFilterBlockTypeId, "notch", "Filters that take out a frequency, in series", kFilter},
    {&kPeakingEQFilterBlockTypeId, "peaking",
     "Filters that raise or lower what lies around a frequency, in series", kGainFilter},
    {&kStereoExpanderBlockTypeId,
     "stereo-expander",
     "Makes a stereo pair as wide as its gains ask for",
     {kStereoExpanderFields, sizeof(StereoExpanderParameters)}},
    {&kStreamExpanderBlockTypeId,
     "expander",
     "Widens the stream to more channels, without mixing",
     {kExpanderFields, sizeof(StreamExpanderParameters)}},
    {&kSurroundBlockTypeId,
     "surround",
     "A MatrixDecoderBlock that can be switched on and off while sound plays",
     {kSurroundFields, sizeof(SurroundParameters)}},
};

}  // namespace

std::span<const BlockFields> AllBlockFields() {
    return kBlocks;
}

const BlockFields* FindBlockFields(const GUID& typeId) {
    for (const BlockFields& block : kBlocks) {
        if (*block.typeId == typeId) return &block;
    }
    return nullptr;
}

}  // namespace quorvel::tool
