#include "blocks/biquad_design.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "tests/blocks/filter_formula.h"

namespace quorvel {
namespace {

constexpr auto kOtherMode = static_cast<BandwidthMode>(3);
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

BiquadSection Design(FilterType type, const FilterBand& band, uint32_t rate = 48000) {
    BiquadSection section;
    section.type = type;
    section.band = band;
    EXPECT_TRUE(ComputeCoefficients(section, rate));
    return section;
}

std::array<float, 5> Coefficients(const BiquadSection& s) {
    return {s.b0, s.b1, s.b2, s.a1, s.a2};
}

std::complex<double> Response(const BiquadSection& s, double rate, double hz) {
    const auto z1 = std::polar(1.0, -2 * std::numbers::pi * hz / rate);
    return (double{s.b0} + z1 * (double{s.b1} + z1 * double{s.b2})) /
           (1.0 + z1 * (double{s.a1} + z1 * double{s.a2}));
}

// Rounding the coefficients to single precision moves numerator and denominator by some 1e-7, while
// the denominator is as small as w0² / Q ~ 4e-3 for the lowest and narrowest band here.
TEST(BiquadDesign, EveryTypeAndWidthModeFollowsTheFormula) {
    constexpr double kTolerance = 2e-4;
    const std::array<FilterBand, 8> bands = {{
        {1000.0f, 0.7071f, BandwidthMode::Q, 6.0f},
        {1000.0f, 4.0f, BandwidthMode::Q, -9.0f},
        {6000.0f, 0.3f, BandwidthMode::Q, 12.0f},
        {2000.0f, 1.5f, BandwidthMode::Octaves, 3.0f},
        {12000.0f, 0.25f, BandwidthMode::Octaves, -3.0f},
        {1500.0f, 1.0f, BandwidthMode::ShelfSlope, 6.0f},
        {4000.0f, 0.5f, BandwidthMode::ShelfSlope, -12.0f},
        {9000.0f, 0.8f, BandwidthMode::ShelfSlope, 18.0f},
    }};
    for (uint32_t type = 0; type <= 6; ++type) {
        for (const FilterBand& band : bands) {
            for (const uint32_t rate : {44100u, 48000u, 96000u}) {
                const BiquadSection section = Design(FilterType{type}, band, rate);
                for (const double hz : {20.0, 200.0, 900.0, 1000.0, 2500.0, 6000.0, 15000.0}) {
                    const auto expected = FormulaResponse(FilterType{type}, band, rate, hz);
                    const double error = std::abs(Response(section, rate, hz) - expected);
                    EXPECT_LE(error, kTolerance * std::max(1.0, std::abs(expected)))
                        << "type " << type << ", band at " << band.frequency << ", rate " << rate
                        << ", " << hz << " Hz";
                }
            }
        }
    }
}

// Every operation in the precision that the contract names. The bits come from a script that does
// the same sums in Python's doubles and rounds to single (struct 'f') after each single operation;
// rounding sums, products, quotients and roots twice like that is exact. The bands were chosen so
// that a rounding left out, or one too many, shows in a bit of at least one of them.
TEST(BiquadDesign, CoefficientsAreExactToTheBit) {
    const struct {
        FilterType type;
        FilterBand band;
        uint32_t rate;
        std::array<uint32_t, 5> bits;
    } cases[] = {
        {FilterType::LowPass,
         {1000.0f, 0.7071f, BandwidthMode::Q, 0.0f},
         48000,
         {0x3B8052BB, 0x3C0052BB, 0x3B8052BB, 0xBFE85D0D, 0x3F54BCAF}},
        {FilterType::HighPass,
         {333.3f, 1.7f, BandwidthMode::Octaves, 0.0f},
         44100,
         {0x3F787E64, 0xBFF87E64, 0x3F787E64, 0xBFF85A83, 0x3F714487}},
        {FilterType::BandPass,
         {2500.0f, 2.2f, BandwidthMode::Q, 0.0f},
         48000,
         {0x3D8B6DF4, 0x00000000, 0xBD8B6DF4, 0xBFE1E90D, 0x3F5D2483}},
        {FilterType::Notch,
         {8783.5f, 0.48f, BandwidthMode::ShelfSlope, -10.1f},
         48000,
         {0x3F01C5ED, 0xBED4285F, 0x3F01C5ED, 0xBED4285F, 0x3C62F6A2}},
        {FilterType::PeakingEQ,
         {9630.8f, 1.5f, BandwidthMode::ShelfSlope, 10.5f},
         48000,
         {0x3FC2DF14, 0xBEF30552, 0x3D06AB1B, 0xBEF30552, 0x3F0E28DA}},
        {FilterType::PeakingEQ,
         {6750.6f, 2.96f, BandwidthMode::Octaves, 5.2f},
         44100,
         {0x3FB24DF5, 0xBF187698, 0xBEB42C53, 0xBF187698, 0x3D285C24}},
        {FilterType::PeakingEQ,
         {8546.0f, 2.47f, BandwidthMode::Octaves, 0.8f},
         96000,
         {0x3F843C1D, 0xBF8E93E8, 0x3E8FE870, 0xBF8E93E8, 0x3EA0D8E6}},
        {FilterType::LowShelf,
         {120.7f, 1.0f, BandwidthMode::ShelfSlope, 6.1f},
         48000,
         {0x3F808175, 0xBFFD96D6, 0x3F7A41C7, 0xBFFD99BE, 0x3F7B3EE4}},
        {FilterType::HighShelf,
         {5122.7f, 2.75f, BandwidthMode::Q, -4.3f},
         96000,
         {0x3F255D2F, 0xBF73A95A, 0x3EC1B530, 0xBFCAD897, 0x3F283F9C}},
    };
    for (const auto& [type, band, rate, bits] : cases) {
        const auto coefficients = Coefficients(Design(type, band, rate));
        for (std::size_t i = 0; i < bits.size(); ++i) {
            EXPECT_EQ(std::bit_cast<uint32_t>(coefficients[i]), bits[i])
                << "coefficient " << i << " of the band at " << band.frequency << " Hz";
        }
    }
}

TEST(BiquadDesign, FlatPeakIsAnExactIdentity) {
    const BiquadSection s = Design(FilterType::PeakingEQ, {440.0f, 1.3f, BandwidthMode::Q, 0.0f});
    EXPECT_EQ(s.b0, 1.0f);
    EXPECT_EQ(s.b1, s.a1);
    EXPECT_EQ(s.b2, s.a2);
}

TEST(BiquadDesign, ShelvesIgnoreTheWidthUnlessItIsZero) {
    for (const FilterType type : {FilterType::LowShelf, FilterType::HighShelf}) {
        const auto narrow = Coefficients(Design(type, {800.0f, 0.3f, BandwidthMode::Q, 6.0f}));
        for (const FilterBand& band : {FilterBand{800.0f, 4.0f, BandwidthMode::Octaves, 6.0f},
                                       FilterBand{800.0f, kNan, BandwidthMode::ShelfSlope, 6.0f},
                                       FilterBand{800.0f, -1.0f, kOtherMode, 6.0f}}) {
            EXPECT_EQ(Coefficients(Design(type, band)), narrow);
        }
    }
}

// With alpha 0 a low-pass has its poles on the unit circle: a0 = a2 = 1.
TEST(BiquadDesign, AnAlphaThatIsNoNumberIsZero) {
    const std::array<FilterBand, 4> bands = {{
        {1000.0f, 1.0f, kOtherMode, 0.0f},
        {1000.0f, kNan, BandwidthMode::Q, 0.0f},
        {1000.0f, 3e4f, BandwidthMode::Octaves, 0.0f},     // sinh overflows
        {1000.0f, 5.0f, BandwidthMode::ShelfSlope, 30.0f}  // square root of a negative number
    }};
    for (const FilterBand& band : bands) {
        const BiquadSection s = Design(FilterType::LowPass, band);
        EXPECT_EQ(s.a2, 1.0f);
        EXPECT_EQ(s.b1, 2.0f * s.b0);
        EXPECT_TRUE(std::isfinite(s.a1));
    }
}

TEST(BiquadDesign, AnUnknownTypeGivesNans) {
    for (const uint32_t type : {7u, 0xFFFFFFFFu}) {
        for (const float c : Coefficients(Design(FilterType{type}, {1000.0f, 1.0f, {}, 0.0f})))
            EXPECT_TRUE(std::isnan(c));
    }
}

TEST(BiquadDesign, AZeroFrequencyOrWidthIsRefusedAndChangesNothing) {
    for (const FilterBand& band : {FilterBand{0.0f, 1.0f, {}, 0.0f},
                                   {1000.0f, 0.0f, {}, 0.0f},
                                   {-0.0f, 1.0f, {}, 0.0f},
                                   {kNan, -0.0f, {}, 0.0f}}) {
        BiquadSection section{FilterType::Notch, band, 1, 2, 3, 4, 5, 6, 7, 8, 9};
        const BiquadSection before = section;
        EXPECT_FALSE(ComputeCoefficients(section, 48000));
        EXPECT_EQ(std::memcmp(&section.b0, &before.b0, 9 * sizeof(float)), 0);
    }
}

TEST(BiquadDesign, ANanFrequencyCountsAsOneAndThePastIsKept) {
    BiquadSection section{FilterType::LowPass, {kNan, 1.0f, {}, 0.0f}, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_TRUE(ComputeCoefficients(section, 48000));
    EXPECT_TRUE(std::isnan(section.b0));
    EXPECT_EQ(section.x1, 6.0f);
    EXPECT_EQ(section.x2, 7.0f);
    EXPECT_EQ(section.y1, 8.0f);
    EXPECT_EQ(section.y2, 9.0f);
}

}  // namespace
}  // namespace quorvel
