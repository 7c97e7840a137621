#include "blocks/eq_filter_block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <memory>
#include <numbers>
#include <vector>

#include "blocks/filter_blocks.h"
#include "engine/block_type_ids.h"
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
    if (!bands.empty())
        std::memcpy(bytes.data() + sizeof count, bands.data(), bytes.size() - sizeof count);
    return bytes;
}

void SetBands(AudioBlock& block, const std::vector<FilterBand>& bands) {
    const Bytes record = Record(static_cast<uint32_t>(bands.size()), bands);
    ASSERT_TRUE(block.SetParameterData(record.data(), static_cast<uint32_t>(record.size())));
}

// Processes `in`, `width` channels wide, into a buffer of its own.
Samples Filtered(AudioBlock& block, Samples in, std::size_t width) {
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
    return Filtered(block, Impulse(600), 2) == Impulse(600);
}

struct Kind {
    FilterType type;
    GUID typeId;
    std::unique_ptr<AudioBlock> block;
};

std::vector<Kind> AllKinds() {
    std::vector<Kind> kinds;
    const auto add = [&]<typename Block>(FilterType type, const GUID& id) {
        kinds.push_back({type, id, std::make_unique<Block>(GUID{})});
    };
    add.operator()<LowPassFilterBlock>(FilterType::LowPass, kLowPassFilterBlockTypeId);
    add.operator()<HighPassFilterBlock>(FilterType::HighPass, kHighPassFilterBlockTypeId);
    add.operator()<BandPassFilterBlock>(FilterType::BandPass, kBandPassFilterBlockTypeId);
    add.operator()<NotchFilterBlock>(FilterType::Notch, kNotchFilterBlockTypeId);
    add.operator()<PeakingEQFilterBlock>(FilterType::PeakingEQ, kPeakingEQFilterBlockTypeId);
    add.operator()<LowShelfFilterBlock>(FilterType::LowShelf, kLowShelfFilterBlockTypeId);
    add.operator()<HighShelfFilterBlock>(FilterType::HighShelf, kHighShelfFilterBlockTypeId);
    return kinds;
}

// The spectrum of the left channel at `hz`.
std::complex<double> Spectrum(const Samples& stereo, double hz, double rate) {
    std::complex<double> sum = 0;
    for (std::size_t f = 0; f < stereo.size() / 2; ++f) {
        const double phase = -2 * std::numbers::pi * hz / rate * static_cast<double>(f);
        sum += double{stereo[2 * f]} * std::polar(1.0, phase);
    }
    return sum;
}

// The measured response of two bands in series. The impulse response has died away below 1e-7 at
// its end; the tolerance is that of the rounded coefficients.
TEST(FilterBlocks, MeasuredResponseFollowsTheFormula) {
    constexpr double kTolerance = 3e-4;
    constexpr double kRate = 48000;
    const FilterBand second = {4000.0f, 1.2f, BandwidthMode::Octaves, -4.0f};
    for (const Kind& kind : AllKinds()) {
        EXPECT_TRUE(kind.block->GetTypeId() == kind.typeId);
        kind.block->SetFormat(2, 3, static_cast<int32_t>(kRate));
        SetBands(*kind.block, {kBand, second});
        const Samples response = Filtered(*kind.block, Impulse(2 * 2048), 2);
        for (const double hz : {30.0, 250.0, 1000.0, 1700.0, 4000.0, 9000.0, 18000.0}) {
            const auto expected = FormulaResponse(kind.type, kBand, kRate, hz) *
                                  FormulaResponse(kind.type, second, kRate, hz);
            const double error = std::abs(Spectrum(response, hz, kRate) - expected);
            EXPECT_LE(error, kTolerance * std::max(1.0, std::abs(expected)))
                << "type " << static_cast<uint32_t>(kind.type) << " at " << hz << " Hz";
        }
        for (std::size_t f = 0; f < response.size() / 2; ++f)
            ASSERT_EQ(response[2 * f + 1], 0.0f) << "the right channel hears the left one";
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
    const Bytes none = Record(0, {kBand});
    EXPECT_TRUE(block.SetParameterData(none.data(), 18));
    EXPECT_TRUE(PassesUnchanged(block));
    const Bytes longer = Record(1, two);
    EXPECT_TRUE(block.SetParameterData(longer.data(), 32));
    EXPECT_FALSE(PassesUnchanged(block));
}

TEST(EQFilterBlock, PassesUntilItHasBandsAndARate) {
    LowPassFilterBlock block(GUID{});
    SetBands(block, {kBand});
    block.SetFormat(2, 3, 0);
    EXPECT_TRUE(PassesUnchanged(block));
    block.SetFormat(2, 3, 48000);
    EXPECT_FALSE(PassesUnchanged(block));
    SetBands(block, {kBand, {0.0f, 1.0f, BandwidthMode::Q, 0.0f}, kBand});
    EXPECT_TRUE(PassesUnchanged(block));
}

// What a block does with `in` after it heard a block of sound and `edit` was made.
template <typename Edit>
Samples TailAfter(Edit edit) {
    PeakingEQFilterBlock block(GUID{});
    block.SetFormat(2, 3, 48000);
    SetBands(block, {kBand});
    Filtered(block, Impulse(60), 2);
    edit(block);
    return Filtered(block, Samples(60), 2);
}

TEST(EQFilterBlock, KeepsThePastUnlessTheShapeChanges) {
    const auto silent = [](const Samples& s) { return s == Samples(s.size()); };
    FilterBand louder = kBand;
    louder.gainDb = 9.0f;
    const Samples tail = TailAfter([](AudioBlock&) {});
    EXPECT_FALSE(silent(tail));
    const Samples louderTail = TailAfter([&](AudioBlock& b) { SetBands(b, {louder}); });
    EXPECT_FALSE(silent(louderTail));
    EXPECT_NE(louderTail, tail);
    EXPECT_EQ(TailAfter([](AudioBlock& b) { b.Reset(); }), tail);
    EXPECT_EQ(TailAfter([](AudioBlock& b) { b.SetFormat(2, 3, 48000); }), tail);
    const Samples slower = TailAfter([](AudioBlock& b) { b.SetFormat(2, 3, 44100); });
    EXPECT_FALSE(silent(slower));
    EXPECT_NE(slower, tail);
    EXPECT_TRUE(silent(TailAfter([](AudioBlock& b) { SetBands(b, {kBand, kBand}); })));
    EXPECT_TRUE(silent(TailAfter([](AudioBlock& b) {
        b.SetFormat(3, 7, 48000);
        b.SetFormat(2, 3, 48000);
    })));
}

TEST(EQFilterBlock, BlockSizesDoNotChangeTheResult) {
    Samples sound(2 * 997);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = std::sin(static_cast<float>(i * i % 1013));
    const auto make = [] {
        auto block = std::make_unique<HighShelfFilterBlock>(GUID{});
        block->SetFormat(2, 3, 48000);
        SetBands(*block, std::vector<FilterBand>(11, kBand));
        return block;
    };
    const Samples whole = Filtered(*make(), sound, 2);
    const auto block = make();
    for (std::size_t frame = 0, size = 1; frame < 997; size = size * 3 % 101) {
        const std::size_t frames = std::min(size, 997 - frame);
        float* place = sound.data() + 2 * frame;
        block->Process(place, place, static_cast<int32_t>(frames));
        frame += frames;
    }
    EXPECT_EQ(sound, whole);
}

// Formats that the graph does not set on a filter block, and one that nobody can mean.
TEST(EQFilterBlock, OddFormatsStayInBounds) {
    NotchFilterBlock block(GUID{});
    SetBands(block, {kBand});
    block.SetFormat(2, 3, 48000);
    block.SetInputsFormat({}, 2, 6, 48000);
    Samples in(6 * 100, 0.25f);
    const Samples out = Filtered(block, in, 6);
    EXPECT_NE(out[0], 0.25f);
    EXPECT_EQ(out[2], 0.25f);
    block.SetFormat(-1, 0, 48000);
    block.Process(in.data(), in.data(), 100);
    EXPECT_EQ(in, Samples(6 * 100, 0.25f));
}

}  // namespace
}  // namespace quorvel
