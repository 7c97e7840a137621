#include "blocks/eq_filter_block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>
#include <vector>

#include "blocks/filter_blocks.h"
#include "engine/block_factory.h"
#include "kinds/block_type_ids.h"
#include "tests/blocks/filter_formula.h"

namespace quorvel {
namespace {

using Bytes = std::vector<unsigned char>;
using Samples = std::vector<float>;

constexpr FilterBand kBand = {1000.0f, 0.7071f, BandwidthMode::Q, 6.0f};

// A record that declares `count` bands and holds `bands`.
Bytes Record(uint32_t count, const std::vector<FilterBand>& bands) {
    Bytes bytes(sizeof count + bands.size() * sizeof(FilterBand));
    std::memcpy(bytes.data(), &count, sizeof count);
    std::memcpy(bytes.data() + sizeof count, bands.data(), bytes.size() - sizeof count);
    return bytes;
}

void SetBands(AudioBlock& block, const std::vector<FilterBand>& bands) {
    const Bytes record = Record(static_cast<uint32_t>(bands.size()), bands);
    ASSERT_TRUE(block.SetParameterData(record.data(), static_cast<uint32_t>(record.size())));
}

// Processes `in`, `width` channels wide, into a buffer of its own.
Samples Filtered(AudioBlock& block, Samples in, std::size_t width = 2) {
    Samples out(in.size());
    block.Process(in.data(), out.data(), static_cast<int32_t>(in.size() / width));
    return out;
}

Samples Impulse(std::size_t samples) {
    Samples impulse(samples);
    impulse[0] = 1.0f;
    return impulse;
}

bool PassesUnchanged(AudioBlock& block) {
    return Filtered(block, Impulse(600)) == Impulse(600);
}

// By FilterType.
const GUID kKinds[] = {kLowPassFilterBlockTypeId,   kHighPassFilterBlockTypeId,
                       kBandPassFilterBlockTypeId,  kNotchFilterBlockTypeId,
                       kPeakingEQFilterBlockTypeId, kLowShelfFilterBlockTypeId,
                       kHighShelfFilterBlockTypeId};

// Each is measured in series with the next one.
constexpr FilterBand kBands[] = {
    {1000.0f, 0.7071f, BandwidthMode::Q, 6.0f},
    {1000.0f, 4.0f, BandwidthMode::Q, -9.0f},
    {6000.0f, 0.3f, BandwidthMode::Q, 12.0f},
    {2000.0f, 1.5f, BandwidthMode::Octaves, 3.0f},
    {12000.0f, 0.25f, BandwidthMode::Octaves, -3.0f},
    {1500.0f, 1.0f, BandwidthMode::ShelfSlope, 6.0f},
    {4000.0f, 0.5f, BandwidthMode::ShelfSlope, -12.0f},
    {9000.0f, 0.8f, BandwidthMode::ShelfSlope, 18.0f},
};

// The left channel of the sound heard at `hz`; the right one must be silent.
std::complex<double> Spectrum(const Samples& stereo, double hz, double rate) {
    std::complex<double> sum = 0;
    for (std::size_t f = 0; f < stereo.size() / 2; ++f) {
        const double phase = -2 * std::numbers::pi * hz / rate * static_cast<double>(f);
        sum += double{stereo[2 * f]} * std::polar(1.0, phase);
        EXPECT_EQ(stereo[2 * f + 1], 0.0f);
    }
    return sum;
}

// Rounding the coefficients to single precision moves numerator and denominator by some 1e-7, while
// the denominator is as small as w0² / Q ~ 4e-3 for the lowest and narrowest band here. The impulse
// response has died away below that at its end.
TEST(FilterBlocks, MeasuredResponseFollowsTheFormula) {
    constexpr double kTolerance = 2e-4;
    for (uint32_t kind = 0; kind < std::size(kKinds); ++kind) {
        const auto made = CreateBlock(kKinds[kind], GUID{});
        AudioBlock& block = *made;
        for (const double rate : {44100, 48000, 96000}) {
            for (std::size_t b = 0; b + 1 < std::size(kBands); ++b) {
                SCOPED_TRACE(testing::Message()
                             << "type " << kind << ", band " << b << ", " << rate);
                block.SetFormat(1, 4, static_cast<int32_t>(rate));  // forgets the past
                block.SetFormat(2, 3, static_cast<int32_t>(rate));
                SetBands(block, {kBands[b], kBands[b + 1]});
                const Samples response = Filtered(block, Impulse(2 * 2048));
                for (const double hz : {20.0, 200.0, 900.0, 1000.0, 2500.0, 6000.0, 15000.0}) {
                    const auto expected =
                        FormulaResponse(FilterType{kind}, kBands[b], rate, hz) *
                        FormulaResponse(FilterType{kind}, kBands[b + 1], rate, hz);
                    EXPECT_LE(std::abs(Spectrum(response, hz, rate) - expected),
                              kTolerance * std::max(1.0, std::abs(expected)))
                        << hz << " Hz";
                }
            }
        }
    }
}

TEST(EQFilterBlock, RefusesRecordsThatAreShortAndKeepsItsBands) {
    PeakingEQFilterBlock block(GUID{});
    block.SetFormat(2, 3, 48000);
    SetBands(block, {kBand});
    const std::vector<FilterBand> two(2, kBand);
    const struct {
        uint32_t count;
        uint32_t size;
    } refused[] = {{0, 4},          {0, 17},          {1, 17},          {2, 31}, {2, 18},
                   {3, 32},         {0x80000000, 32}, {0x12492493, 32},  // 14 × this wraps to 10
                   {0xFFFFFFFF, 32}};
    for (const auto& [count, size] : refused) {
        const Bytes record = Record(count, two);
        EXPECT_FALSE(block.SetParameterData(record.data(), size)) << count << " in " << size;
    }
    EXPECT_FALSE(block.SetParameterData(nullptr, 100));
    EXPECT_FALSE(block.SetParameters(nullptr));
    EXPECT_FALSE(PassesUnchanged(block));
    EXPECT_TRUE(block.SetParameterData(Record(0, two).data(), 18));
    EXPECT_TRUE(PassesUnchanged(block));
    EXPECT_TRUE(block.SetParameterData(Record(1, two).data(), 32));
    EXPECT_FALSE(PassesUnchanged(block));
}

// What a block does with silence after it heard a block of sound and `edit` was made.
template <typename Edit>
Samples TailAfter(Edit edit) {
    PeakingEQFilterBlock block(GUID{});
    block.SetFormat(2, 3, 48000);
    SetBands(block, {kBand});
    Filtered(block, Impulse(60));
    edit(block);
    return Filtered(block, Samples(60));
}

TEST(EQFilterBlock, KeepsThePastUnlessTheShapeChanges) {
    FilterBand louder = kBand;
    louder.gainDb = 9.0f;
    const Samples silence(60);
    const Samples tail = TailAfter([](AudioBlock&) {});
    const Samples louderTail = TailAfter([&](AudioBlock& b) { SetBands(b, {louder}); });
    const Samples slower = TailAfter([](AudioBlock& b) { b.SetFormat(2, 3, 44100); });
    for (const Samples& other : {silence, louderTail, slower})
        EXPECT_NE(other, tail);
    EXPECT_NE(louderTail, silence);
    EXPECT_NE(slower, silence);
    EXPECT_EQ(TailAfter([](AudioBlock& b) { b.Reset(); }), tail);
    EXPECT_EQ(TailAfter([](AudioBlock& b) { b.SetFormat(2, 3, 48000); }), tail);
    EXPECT_EQ(TailAfter([](AudioBlock& b) { SetBands(b, {kBand, kBand}); }), silence);
    const auto narrowAndWiden = [](AudioBlock& b) {
        b.SetFormat(1, 4, 48000), b.SetFormat(2, 3, 48000);
    };
    EXPECT_EQ(TailAfter(narrowAndWiden), silence);
}

// Formats that the graph does not set on a filter block, and one that nobody can mean.
TEST(EQFilterBlock, OddFormatsStayInBounds) {
    NotchFilterBlock block(GUID{});
    SetBands(block, {kBand});
    block.SetFormat(2, 3, 0);
    EXPECT_TRUE(PassesUnchanged(block));
    block.SetFormat(2, 3, 48000);
    block.SetInputsFormat({}, 2, 6, 48000);
    const Samples in(6 * 100, 0.25f);
    const Samples out = Filtered(block, in, 6);
    EXPECT_NE(out[0], 0.25f);
    EXPECT_EQ(out[2], 0.25f);
    block.SetFormat(-1, 0, 48000);
    Samples untouched = in;
    block.Process(untouched.data(), untouched.data(), 100);
    EXPECT_EQ(untouched, in);
}

}  // namespace
}  // namespace quorvel
