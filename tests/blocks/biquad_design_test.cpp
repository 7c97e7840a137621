#include "dsp/biquad/biquad_design.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

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

constexpr struct {
    FilterType type;
    uint32_t rate;
    FilterBand band;
} kDesigns[] = {
    {FilterType::LowPass, 48000, {1000.0f, 0.7071f, BandwidthMode::Q, 0.0f}},
    {FilterType::HighPass, 44100, {333.3f, 1.7f, BandwidthMode::Octaves, 0.0f}},
    {FilterType::BandPass, 48000, {2500.0f, 2.2f, BandwidthMode::Q, 0.0f}},
    {FilterType::Notch, 48000, {8783.5f, 0.48f, BandwidthMode::ShelfSlope, -10.1f}},
    {FilterType::PeakingEQ, 48000, {9630.8f, 1.5f, BandwidthMode::ShelfSlope, 10.5f}},
    {FilterType::PeakingEQ, 44100, {6750.6f, 2.96f, BandwidthMode::Octaves, 5.2f}},
    {FilterType::PeakingEQ, 96000, {8546.0f, 2.47f, BandwidthMode::Octaves, 0.8f}},
    {FilterType::LowShelf, 48000, {120.7f, 1.0f, BandwidthMode::ShelfSlope, 6.1f}},
    {FilterType::HighShelf, 96000, {5122.7f, 2.75f, BandwidthMode::Q, -4.3f}},
};

// Their b0, b1, b2, a1 and a2.
constexpr uint32_t kBits[][5] = {
    {0x3B8052BB, 0x3C0052BB, 0x3B8052BB, 0xBFE85D0D, 0x3F54BCAF},
    {0x3F787E64, 0xBFF87E64, 0x3F787E64, 0xBFF85A83, 0x3F714487},
    {0x3D8B6DF4, 0x00000000, 0xBD8B6DF4, 0xBFE1E90D, 0x3F5D2483},
    {0x3F01C5ED, 0xBED4285F, 0x3F01C5ED, 0xBED4285F, 0x3C62F6A2},
    {0x3FC2DF14, 0xBEF30552, 0x3D06AB1B, 0xBEF30552, 0x3F0E28DA},
    {0x3FB24DF5, 0xBF187698, 0xBEB42C53, 0xBF187698, 0x3D285C24},
    {0x3F843C1D, 0xBF8E93E8, 0x3E8FE870, 0xBF8E93E8, 0x3EA0D8E6},
    {0x3F808175, 0xBFFD96D6, 0x3F7A41C7, 0xBFFD99BE, 0x3F7B3EE4},
    {0x3F255D2F, 0xBF73A95A, 0x3EC1B530, 0xBFCAD897, 0x3F283F9C},
};

// Every operation in the precision that the contract names. The bits come from a script that does
// the same sums in Python's doubles and rounds to single (struct 'f') after each single operation;
// rounding sums, products, quotients and roots twice like that is exact. The bands were chosen so
// that a rounding left out, or one too many, shows in a bit of at least one of them.
TEST(BiquadDesign, CoefficientsAreExactToTheBit) {
    for (std::size_t row = 0; row < std::size(kDesigns); ++row) {
        const auto& [type, rate, band] = kDesigns[row];
        const auto coefficients = Coefficients(Design(type, band, rate));
        for (std::size_t i = 0; i < coefficients.size(); ++i)
            EXPECT_EQ(std::bit_cast<uint32_t>(coefficients[i]), kBits[row][i]) << row << ", " << i;
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

TEST(BiquadDesign, AnUnknownTypeOrANanFrequencyGivesNans) {
    for (const uint32_t type : {7u, 0xFFFFFFFFu}) {
        for (const float c : Coefficients(Design(FilterType{type}, {1000.0f, 1.0f, {}, 0.0f})))
            EXPECT_TRUE(std::isnan(c));
    }
    EXPECT_TRUE(std::isnan(Design(FilterType::LowPass, {kNan, 1.0f, {}, 0.0f}).b0));
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

}  // namespace
}  // namespace quorvel
