#include "authoring/check/band_check.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string>

#include "blocks/stereo_expander_block.h"
#include "dsp/biquad/biquad_design.h"
#include "kinds/block_type_ids.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

struct FilterKind {
    GUID typeId;
    FilterType type;
};
constexpr FilterKind kFilters[] = {
    {kBandPassFilterBlockTypeId, FilterType::BandPass},
    {kHighPassFilterBlockTypeId, FilterType::HighPass},
    {kHighShelfFilterBlockTypeId, FilterType::HighShelf},
    {kLowPassFilterBlockTypeId, FilterType::LowPass},
    {kLowShelfFilterBlockTypeId, FilterType::LowShelf},
    {kNotchFilterBlockTypeId, FilterType::Notch},
    {kPeakingEQFilterBlockTypeId, FilterType::PeakingEQ},
};

// One band of a block.
struct PlacedBand {
    std::string name{};
    BiquadSection section{};
    const char* whenBypassed;  // what becomes of the sound without the frequency or the width
    const char* orRemove;      // the other thing to do, where there is one
};

// Whether the poles lie within the unit circle, as near as single precision can tell.
bool IsStable(const BiquadSection& section) {
    constexpr float kRounding = 1e-6f;
    const bool isFinite = std::isfinite(section.b0) && std::isfinite(section.b1) &&
                          std::isfinite(section.b2) && std::isfinite(section.a1);
    return isFinite && std::abs(section.a2) <= 1.0f + kRounding &&
           std::abs(section.a1) <= 1.0f + section.a2 + kRounding;
}

// Finds the faults of one chain.
class BandCheck {
  public:
    BandCheck(const QuorvelAudioBlocksChain& chainToCheck, std::uint32_t rate)
        : chain(chainToCheck), sampleRate(rate) {}

    std::vector<ChainFault> FindFaults() {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i)
            CheckBlock(chain.blocks.Item(i), i);
        return std::move(faults);
    }

  private:
    void CheckBlock(const QuorvelAudioBlock& block, std::size_t i) {
        if (!block.data) return;
        if (block.typeId == kStereoExpanderBlockTypeId) return CheckExpander(block, i);
        const auto* kind = std::ranges::find(kFilters, block.typeId, &FilterKind::typeId);
        if (kind != std::end(kFilters)) CheckFilter(block, kind->type, i);
    }

    // No more bands than the record announces, nor than it has.
    void CheckFilter(const QuorvelAudioBlock& block, FilterType type, std::size_t i) {
        std::uint32_t count = 0;
        if (block.dataSize < sizeof(count)) return;
        std::memcpy(&count, block.data, sizeof(count));
        const std::size_t held = (block.dataSize - sizeof(count)) / sizeof(FilterBand);
        const std::uint8_t* at = block.data + sizeof(count);
        for (std::size_t k = 0; k < std::min<std::size_t>(count, held); ++k) {
            PlacedBand band{"band " + std::to_string(k + 1),
                            {},
                            "all its bands are bypassed",
                            ", or remove it"};
            std::memcpy(&band.section.band, at + k * sizeof(FilterBand), sizeof(FilterBand));
            band.section.type = type;
            CheckBand(band, i);
        }
    }

    void CheckExpander(const QuorvelAudioBlock& block, std::size_t i) {
        StereoExpanderParameters parameters;
        if (block.dataSize < sizeof(parameters)) return;
        std::memcpy(&parameters, block.data, sizeof(parameters));
        PlacedBand low{"lowPassBand", {}, "it lets everything pass", ""};
        low.section.type = FilterType::LowPass;
        low.section.band = parameters.lowPassBand;
        CheckBand(low, i);
        PlacedBand high{"highPassBand", {}, "it lets everything pass", ""};
        high.section.type = FilterType::HighPass;
        high.section.band = parameters.highPassBand;
        CheckBand(high, i);
    }

    void CheckBand(PlacedBand& band, std::size_t i) {
        if (!ComputeCoefficients(band.section, sampleRate)) {
            return Tell(band, std::string(" has no frequency or no width: ") + band.whenBypassed,
                        std::string("give the band both") + band.orRemove, i);
        }
        const double half = sampleRate / 2.0;
        const double frequency = band.section.band.frequency;
        if (frequency >= half) {
            Tell(band,
                 std::string(frequency > half ? " lies above" : " lies at") +
                     " half the sample rate: its filter may run away",
                 "move it below " + std::to_string(sampleRate / 2) + " Hz" + band.orRemove, i);
        } else if (!IsStable(band.section)) {
            Tell(band, " gives a filter that is not stable: it may run away",
                 "give the band a positive frequency and width", i);
        }
    }

    void Tell(const PlacedBand& band, const std::string& what, const std::string& advice,
              std::size_t i) {
        faults.push_back({band.name + what, advice, i, {}});
    }

    const QuorvelAudioBlocksChain& chain;
    std::uint32_t sampleRate;  // Hz
    std::vector<ChainFault> faults{};
};

}  // namespace

std::vector<ChainFault> FindBandFaults(const QuorvelAudioBlocksChain& chain,
                                       std::uint32_t sampleRate) {
    return BandCheck(chain, sampleRate).FindFaults();
}

}  // namespace quorvel::tool
