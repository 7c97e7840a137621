#include "dsp/surround/decoder_options.h"

#include <algorithm>
#include <iterator>

namespace quorvel {
namespace {

constexpr double kSampleRates[] = {32000.0, 44100.0, 48000.0,  64000.0,
                                   88200.0, 96000.0, 176400.0, 192000.0};
constexpr double kUsualSampleRate = 48000.0;

constexpr uint32_t kClassicCode = 2;
constexpr uint32_t kAdjustableCode = 7;

constexpr uint32_t kNeutral = 7;  // of the rear share and of the spread

uint32_t Bits(uint32_t word, int first, int count) {
    return word >> first & ((1u << count) - 1);
}

DecoderMode ModeOf(uint32_t code) {
    if (code == kClassicCode) return DecoderMode::Classic;
    return code == kAdjustableCode ? DecoderMode::Adjustable : DecoderMode::Surround;
}

double RearShare(uint32_t value) {
    return std::clamp(0.40 + 0.05 * (static_cast<double>(value) - kNeutral), 0.05, 0.80);
}

DecoderOptions ReadWords(uint16_t modeWord, uint16_t flagsWord) {
    const uint32_t rateCode = Bits(modeWord, 12, 4);
    DecoderOptions options;
    options.sampleRate =
        rateCode < std::size(kSampleRates) ? kSampleRates[rateCode] : kUsualSampleRate;
    options.mode = ModeOf(Bits(modeWord, 5, 7));
    options.balances = Bits(flagsWord, 0, 1) == 0;
    options.isBrisk = Bits(flagsWord, 12, 1) != 0;
    if (options.mode == DecoderMode::Classic) return options;
    options.hasBackPairOnly = Bits(flagsWord, 1, 1) != 0;
    if (options.mode == DecoderMode::Surround) return options;
    options.wraps = !options.hasBackPairOnly && Bits(flagsWord, 3, 1) != 0;
    options.rearShare = RearShare(Bits(flagsWord, 4, 4));
    options.spread = std::min(kNeutral, Bits(flagsWord, 8, 4)) / static_cast<double>(kNeutral);
    return options;
}

}  // namespace

DecoderOptions ReadDecoderOptions(uint16_t modeWord, uint16_t flagsWord, DecoderOutputs outputs) {
    DecoderOptions options = ReadWords(modeWord, flagsWord);
    if (outputs == DecoderOutputs::All) return options;
    options.mode = DecoderMode::Adjustable;
    options.hasBackPairOnly = options.keepsPanning = true;
    options.wraps = false;
    options.spread = 1.0;
    return options;
}

}  // namespace quorvel
