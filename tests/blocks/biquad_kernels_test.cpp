// The vector kernels give the bits of the plain definition.
#include "dsp/biquad/biquad_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

#include "dsp/biquad/biquad_bank.h"
#include "platform/processor.h"
#include "tests/support/same_bits.h"

namespace quorvel {
namespace {

using test::ExpectSameBits;
using test::SameBits;

bool SamePast(const BiquadBank& a, const BiquadBank& b) {
    for (int i = 0; i < a.channels * a.bands; ++i) {
        const BiquadSection& s = a.sections[i];
        const BiquadSection& t = b.sections[i];
        if (!SameBits(s.x1, t.x1) || !SameBits(s.x2, t.x2)) return false;
        if (!SameBits(s.y1, t.y1) || !SameBits(s.y2, t.y2)) return false;
    }
    return true;
}

// Two banks that get the same edits and the same sound, one of them through the kernel under test.
class BiquadKernels : public testing::TestWithParam<BiquadKernel> {
  protected:
    void SetUp() override {
        if (GetParam() == RunBiquadsInEights && !platform::ProcessorHasAvx())
            GTEST_SKIP() << "this processor has no AVX";
    }

    int Random(int low, int high) { return std::uniform_int_distribution(low, high)(random); }
    float RandomBetween(float low, float high) {
        return std::uniform_real_distribution(low, high)(random);
    }

    void Configure(int channels, int bandCount, FilterType type) {
        std::vector<FilterBand> bands(static_cast<std::size_t>(bandCount));
        for (FilterBand& band : bands) {
            band = {RandomBetween(20.0f, 20000.0f), RandomBetween(0.1f, 4.0f),
                    static_cast<BandwidthMode>(Random(0, 3)), RandomBetween(-18.0f, 18.0f)};
        }
        for (BiquadBank* bank : {&plain, &fast}) {
            bank->sampleRate = 48000;
            bank->Configure(channels, bandCount, type, bands.data());
        }
        plain.kernel = RunBiquadsPlain;
        fast.kernel = GetParam();
    }

    float RandomSample() {
        const int roll = Random(0, 4000);
        return roll == 0 ? 1e-42f : roll == 1 ? -0.0f : RandomBetween(-1.0f, 1.0f);
    }

    // One block through both banks, `width` channels, in place or not.
    void Compare(int frames, int width) {
        const auto samples = static_cast<std::size_t>(frames) * static_cast<std::size_t>(width);
        std::vector<float> in(samples);
        std::generate(in.begin(), in.end(), [this] { return RandomSample(); });
        std::vector<float> expected(samples + 1, 99.0f);
        std::vector<float> got(samples + 1, 99.0f);
        plain.Process(in.data(), expected.data(), frames, width);
        const bool inPlace = Random(0, 1) == 1;
        if (inPlace) std::copy(in.begin(), in.end(), got.begin());
        fast.Process(inPlace ? got.data() : in.data(), got.data(), frames, width);
        ExpectSameBits(got, expected);
        EXPECT_TRUE(SamePast(plain, fast));
    }

    std::minstd_rand random{7};
    BiquadBank plain;
    BiquadBank fast;
};

TEST_P(BiquadKernels, RandomShapesParametersAndBlocks) {
    for (int round = 0; round < 150 && !HasFailure(); ++round) {
        const int channels = Random(1, 8);
        const int bands = Random(0, 3) == 0 ? Random(11, 40) : Random(0, 10);
        const auto type = static_cast<FilterType>(Random(0, 6));
        for (int change = 0; change < 3; ++change) {
            Configure(channels, bands, type);
            const int frames = Random(0, 3) == 0 ? Random(1, 4096) : Random(1, 300);
            SCOPED_TRACE(testing::Message() << channels << " channels, " << bands << " bands, "
                                            << frames << " frames");
            Compare(frames, channels);
        }
    }
}

// Where the pipeline is barely filled, or not at all: every block size up to past the point from
// which the widest vectors are used, one shape for each way of filling a pass.
TEST_P(BiquadKernels, ShortBlocks) {
    for (const int channels : {1, 2, 3, 5, 8}) {
        for (const int bands : {1, 2, 7, 12, 25}) {
            Configure(channels, bands, FilterType::PeakingEQ);
            for (int frames = 1; frames <= 52 && !HasFailure(); ++frames)
                Compare(frames, channels);
        }
    }
}

TEST_P(BiquadKernels, SamplesThatAreNotFiniteStickAlike) {
    for (const float bad :
         {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
        Configure(3, 5, FilterType::LowShelf);
        for (BiquadBank* bank : {&plain, &fast})
            bank->sections[7].y1 = bad;  // channel 1, band 2
        Compare(200, 3);
        Compare(200, 3);
    }
    Configure(2, 4, static_cast<FilterType>(7));  // coefficients are NaN
    Compare(100, 2);
}

TEST_P(BiquadKernels, ASectionWithoutWidthOrFrequencyIsPassed) {
    Configure(2, 5, FilterType::LowPass);
    for (BiquadBank* bank : {&plain, &fast}) {
        bank->sections[3].band.width = 0.0f;
        bank->sections[9].band.frequency = 0.0f;
        bank->sections[9].y1 = 0.5f;
    }
    Compare(480, 2);
    EXPECT_EQ(fast.sections[3].x1, 0.0f);
    EXPECT_EQ(fast.sections[9].y1, 0.5f);
    EXPECT_NE(fast.sections[4].x1, 0.0f);
}

TEST_P(BiquadKernels, ChannelsWithoutSectionsAreCopied) {
    Configure(3, 4, FilterType::HighPass);
    for (const int width : {1, 2, 4, 9})
        Compare(300, width);
}

INSTANTIATE_TEST_SUITE_P(All, BiquadKernels, testing::Values(RunBiquadsInFours, RunBiquadsInEights),
                         [](const auto& kernel) {
                             return kernel.param == RunBiquadsInFours ? "Fours" : "Eights";
                         });

// The definition itself, by hand: y = (((b1·x1 + b0·x) + b2·x2) - a1·y1) - a2·y2 with numbers that
// another order of the sum would round elsewhere.
TEST(BiquadPlain, EvaluatesInTheStatedOrder) {
    // 3 + 1e8 rounds to 1e8; 1e8 - 1e8 = 0: the 3 is lost
    BiquadSection section{{}, {1.0f, 1.0f, {}, 0.0f}, 1e8f, 1, -1e8f, -0.5f, 0.25f, 3, 1, 2, 8};
    const float in = 1.0f;
    float out = 0.0f;
    RunBiquadsPlain({&section, 1, 1, &in, &out, 1, 1});
    EXPECT_EQ(out, -1.0f);
    EXPECT_EQ(section.x1, 1.0f);
    EXPECT_EQ(section.x2, 3.0f);
    EXPECT_EQ(section.y1, -1.0f);
    EXPECT_EQ(section.y2, 2.0f);
}

}  // namespace
}  // namespace quorvel
