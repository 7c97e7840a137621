#include "dsp/biquad/biquad_bank.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace quorvel {
namespace {

constexpr FilterBand kBand = {1000.0f, 0.7071f, BandwidthMode::Q, 3.0f};
constexpr FilterBand kFaulty = {0.0f, 1.0f, BandwidthMode::Q, 0.0f};

// Counts blocks in use; refuses when told.
int blocksInUse = 0;
bool refuse = false;

void* CountingAllocate(std::size_t bytes) {
    if (refuse) return nullptr;
    ++blocksInUse;
    return ::operator new(bytes, std::nothrow);
}

void CountingRelease(void* memory) {
    --blocksInUse;
    ::operator delete(memory);
}

// Sees that a bank, gone before it, has returned its memory.
struct Balance {
    ~Balance() { EXPECT_EQ(blocksInUse, 0); }
};

class BiquadBankTest : public testing::Test {
  protected:
    BiquadBankTest() {
        blocksInUse = 0;
        refuse = false;
        bank.allocate = CountingAllocate;
        bank.release = CountingRelease;
        bank.sampleRate = 48000;
    }

    void Configure(int32_t channels, int32_t bands, FilterType type = FilterType::LowPass) {
        const std::vector<FilterBand> list(static_cast<std::size_t>(std::max(bands, 0)), kBand);
        bank.Configure(channels, bands, type, list.data());
    }

    // Whether `bank` gives back a stretch of sound as it got it.
    bool PassesUnchanged() {
        std::array<float, 128> in{};
        in[0] = in[1] = 1.0f;
        std::array<float, 128> out{};
        bank.Process(in.data(), out.data(), 64, 2);
        return in == out;
    }

    bool PastIsSilent() const {
        return std::all_of(bank.sections, bank.sections + bank.channels * bank.bands,
                           [](const BiquadSection& s) {
                               return s.x1 == 0 && s.x2 == 0 && s.y1 == 0 && s.y2 == 0;
                           });
    }

    Balance balance;
    BiquadBank bank;
};

TEST_F(BiquadBankTest, OneFaultyBandDisablesAllUntilItIsMended) {
    for (const std::size_t place : {0u, 1u, 2u}) {
        std::vector<FilterBand> bands(3, kBand);
        bands[place] = kFaulty;
        bank.Configure(2, 3, FilterType::LowPass, bands.data());
        EXPECT_FALSE(bank.valid);
        EXPECT_TRUE(PassesUnchanged());
        bank.Recompute();
        EXPECT_FALSE(bank.valid);
        Configure(2, 3);
        EXPECT_TRUE(bank.valid);
        EXPECT_FALSE(PassesUnchanged());
    }
}

// The shape is taken even when its memory cannot be had; nothing is tried again until it changes.
TEST_F(BiquadBankTest, ARefusedAllocationLeavesValidAndPassesSamples) {
    Configure(2, 3);
    refuse = true;
    Configure(2, 5);
    EXPECT_EQ(blocksInUse, 0);
    EXPECT_TRUE(bank.valid);
    EXPECT_EQ(bank.bands, 5);
    EXPECT_TRUE(PassesUnchanged());
    bank.Recompute();
    EXPECT_TRUE(PassesUnchanged());
    refuse = false;
    Configure(2, 5);
    EXPECT_TRUE(PassesUnchanged());
    Configure(2, 4);
    EXPECT_FALSE(PassesUnchanged());
}

TEST_F(BiquadBankTest, HostileOrEmptyShapesPassSamples) {
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    for (const auto& [channels, bands] :
         {std::array{-1, 3}, {2, -1}, {-5, -5}, {-kMost - 1, 1}, {kMost, kMost}}) {
        bank.Configure(channels, bands, FilterType::LowPass, nullptr);
        EXPECT_EQ(blocksInUse, 0) << channels << " x " << bands;
        EXPECT_TRUE(PassesUnchanged());
    }
    for (const auto& [channels, bands] : {std::array{2, 0}, {0, 3}, {0, 0}}) {
        bank.Configure(channels, bands, FilterType::LowPass, nullptr);
        EXPECT_TRUE(bank.valid);
        EXPECT_TRUE(PassesUnchanged());
    }
}

TEST_F(BiquadBankTest, TypedBandsBringTheirOwnTypes) {
    const TypedFilterBand peak = {kBand, FilterType::PeakingEQ};
    const TypedFilterBand shelf = {kBand, FilterType::HighShelf};
    bank.sampleRate = 0;
    bank.ConfigureTyped({peak, shelf});
    EXPECT_FALSE(bank.valid);
    bank.sampleRate = 48000;
    bank.Recompute();
    EXPECT_TRUE(bank.valid);
    EXPECT_FALSE(PassesUnchanged());
    EXPECT_EQ(bank.type, FilterType::PeakingEQ);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(bank.sections[i].type,
                  i % 2 == 0 ? FilterType::PeakingEQ : FilterType::HighShelf);
    }
    EXPECT_EQ(bank.sections[3].b0, bank.sections[1].b0);
    EXPECT_NE(bank.sections[3].b0, bank.sections[2].b0);
    bank.ConfigureTyped({peak, {kFaulty, FilterType::LowPass}});
    EXPECT_FALSE(bank.valid);
}

TEST_F(BiquadBankTest, NoFramesAndNoWidthDoNothing) {
    Configure(2, 2);
    float sample = 0.5f;
    for (const auto& [frames, width] : {std::array{0, 2}, {-3, 2}, {1, 0}, {1, -1}})
        bank.Process(&sample, &sample, frames, width);
    EXPECT_EQ(sample, 0.5f);
    EXPECT_TRUE(PastIsSilent());
}

}  // namespace
}  // namespace quorvel
