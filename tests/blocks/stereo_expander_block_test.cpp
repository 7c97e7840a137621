#include "blocks/stereo_expander_block.h"

#include <gtest/gtest.h>

#include "base/decibels.h"
#include "blocks/filter_blocks.h"
#include "engine/output_limiter.h"
#include "platform/random.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using namespace test;

constexpr int32_t kRate = 48000;

// The formula of the block's header, sample by sample, sums from 0 and from left to right.
class Model {
  public:
    Model() { limiter.SetSampleRate(kRate); }

    void SetParameters(const StereoExpanderParameters& record) {
        parameters = record;
        for (Side& side : sides) {
            Give(side.lowPass, record.lowPassBand);
            Give(side.highPass, record.highPassBand);
        }
    }

    // `in` is `width` channels wide.
    std::vector<float> Run(const std::vector<float>& in, std::size_t width) {
        std::vector<float> out;
        for (std::size_t at = 0; at < in.size(); at += width) {
            const float* frame = &in[at];
            const float mono = frame[0] * 0.70794576f;
            sides[0].Feed(width == 1 ? mono : frame[0], DbToLinear(parameters.inputGainDb));
            sides[1].Feed(width == 1 ? mono : frame[1], DbToLinear(parameters.inputGainDb));
            const float sum =
                DbToLinear(parameters.highSumGainDb) * (0.0f + sides[0].high + sides[1].high);
            for (const Side& side : sides) {
                const float high = DbToLinear(parameters.highGainDb) * (0.0f + side.high + sum);
                out.push_back(0.0f + DbToLinear(parameters.directGainDb) * side.direct +
                              DbToLinear(parameters.lowGainDb) * side.low + high);
            }
        }
        limiter.Process(out.data(), static_cast<int32_t>(out.size() / 2), 2);
        return out;
    }

  private:
    struct Side {
        Side() {
            lowPass.SetFormat(1, 0x4, kRate);
            highPass.SetFormat(1, 0x4, kRate);
        }
        void Feed(float sample, float gain) {
            direct = gain * sample;
            lowPass.Process(&direct, &low, 1);
            highPass.Process(&direct, &high, 1);
        }
        LowPassFilterBlock lowPass{GUID{}};
        HighPassFilterBlock highPass{GUID{}};
        float direct = 0.0f, low = 0.0f, high = 0.0f;
    };

    static void Give(EQFilterBlock& filter, const FilterBand& band) {
        uint8_t record[18] = {1};
        std::memcpy(record + 4, &band, sizeof(band));
        ASSERT_TRUE(filter.SetParameterData(record, sizeof(record)));
    }
    StereoExpanderParameters parameters;
    std::array<Side, 2> sides;
    OutputLimiter limiter;
};

// Gains and corners that differ from each other in every field.
StereoExpanderParameters Record(uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> gainDb(-30.0f, 6.0f), corner(80.0f, 9000.0f);
    const auto band = [&] { return FilterBand{corner(random), 0.7f, BandwidthMode::Q, 0.0f}; };
    return {gainDb(random), gainDb(random), gainDb(random), gainDb(random),
            gainDb(random), band(),         band()};
}

// The first two channels of `frames` frames; the others are there to be ignored.
std::vector<float> Input(std::size_t frames, std::size_t width, uint32_t seed) {
    std::vector<float> samples = Noise(frames * width, seed);
    for (std::size_t i = 0; i < samples.size(); ++i)
        if (i % width >= 2) samples[i] = NAN;
    return samples;
}

// Layouts with and without a fold-down of their own; records that change between buffers of all
// sizes; in place or not. What the graph adds to its input, in place, is heard.
TEST(StereoExpanderBlock, EqualsTheFormula) {
    const std::pair<int32_t, uint32_t> layouts[] = {{1, 0x4},  {1, 0x1},   {2, 0x3},  {2, 0x600},
                                                    {5, 0x3B}, {6, 0x60F}, {8, 0x63F}};
    for (const auto& [width, mask] : layouts) {
        SCOPED_TRACE(testing::Message() << width << " channels, mask " << mask);
        StereoExpanderBlock block(GUID{}), inPlace(GUID{});
        Model model;
        for (StereoExpanderBlock* each : {&block, &inPlace}) {
            platform::SeedRand(1);  // for the same noise
            each->SetFormat(width, mask, kRate);
        }
        EXPECT_EQ(block.GetInputChannels(), width);
        EXPECT_EQ(block.GetOutputChannels(), 2);
        EXPECT_EQ(block.GetChannelMask(), 0x3u);
        uint32_t seed = 0;
        for (const std::size_t frames : {480u, 1u, 7u, 600u, 480u}) {
            if (++seed > 1) {  // the first buffer meets the defaults
                const StereoExpanderParameters record = Record(seed);
                EXPECT_TRUE(block.SetParameterData(&record, sizeof(record)));
                EXPECT_TRUE(inPlace.SetParameters(&record));
                model.SetParameters(record);
            }
            const auto clean = Input(frames, static_cast<std::size_t>(width), seed);
            auto in = clean, both = WithRoom(clean, 2 * frames);
            std::vector<float> out(2 * frames);
            platform::SeedRand(seed);
            block.Process(in.data(), out.data(), static_cast<int32_t>(frames));
            EXPECT_NE(in.front(), clean.front());
            ExpectSameBits(out, model.Run(in, static_cast<std::size_t>(width)));
            platform::SeedRand(seed);
            inPlace.Process(both.data(), both.data(), static_cast<int32_t>(frames));
            both.resize(out.size());
            ExpectSameBits(both, out);
        }
    }
}

TEST(StereoExpanderBlock, IsSilentWithoutAFormat) {
    StereoExpanderBlock block(GUID{});
    for (const int32_t width : {2, 0, 2, -1, 2, 65536, 2}) {
        std::vector<float> in(4, 0.5f), out(4, kUntouched);
        block.Process(in.data(), out.data(), 2);
        ExpectSameBits(out, std::vector<float>(4, 0.0f));
        block.SetFormat(width, 0, kRate);
        if (width == 2) block.SetFormat(0, 0, kRate);
    }
}

}  // namespace
}  // namespace quorvel
