// The three blocks: their records, and that they hand everything to their engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "blocks/compressor_block.h"
#include "blocks/dynamics/linked_gain.h"
#include "blocks/limiter_block.h"
#include "blocks/noise_gate_block.h"
#include "engine/block_type_ids.h"

namespace quorvel {
namespace {

// A record byte by byte: threshold -20 dB, attack 5 ms, release 2^31 + 80 ms, ratio 0.25.
constexpr std::array<uint8_t, 16> kRecord = {0x00, 0x00, 0xA0, 0xC1, 5, 0, 0,    0,
                                             80,   0,    0,    0x80, 0, 0, 0x80, 0x3E};
constexpr double kReleaseMs = 2147483728.0;

std::vector<float> Noise(std::size_t size) {
    std::mt19937 random(11);
    std::vector<float> samples(size);
    for (float& x : samples)
        x = static_cast<float>(random() % 20001) / 10000.0f - 1.0f;
    return samples;
}

constexpr int32_t kFrames = 1000;
constexpr int32_t kChannels = 3;
constexpr std::size_t kSamples = kFrames * kChannels;

// Runs `block`, configured here, on noise; half of it in place, with a Reset between the halves.
std::vector<float> RunBlock(AudioBlock& block) {
    block.SetFormat(kChannels, 0xB, 96000);
    EXPECT_TRUE(block.SetParameters(kRecord.data()));
    std::vector<float> in = Noise(kSamples);
    std::vector<float> out(kSamples);
    block.Process(in.data(), out.data(), kFrames / 2);
    block.Reset();
    std::copy(in.begin() + kSamples / 2, in.end(), out.begin() + kSamples / 2);
    block.Process(out.data() + kSamples / 2, out.data() + kSamples / 2, kFrames / 2);
    return out;
}

template <typename Engine>
void Configure(Engine& engine) {
    engine.SetSampleRate(96000.0);
    engine.SetThreshold(-20.0);
    engine.SetAttack(5.0);
    engine.SetRelease(kReleaseMs);
}

template <typename Engine>
std::vector<float> RunEngine(Engine& engine) {
    const std::vector<float> in = Noise(kSamples);
    std::vector<float> out(kSamples);
    dynamics::ProcessLinked(engine, in.data(), out.data(), kFrames, kChannels);
    EXPECT_NE(in, out);
    return out;
}

TEST(DynamicsBlocks, RunTheirEngineWithTheFieldsOfTheRecord) {
    CompressorBlock compressorBlock(GUID{});
    dynamics::SimpleComp compressor;
    Configure(compressor);
    compressor.SetRatio(0.25);
    EXPECT_EQ(RunBlock(compressorBlock), RunEngine(compressor));

    NoiseGateBlock gateBlock(GUID{});
    dynamics::SimpleGate gate;
    Configure(gate);
    EXPECT_EQ(RunBlock(gateBlock), RunEngine(gate));

    LimiterBlock limiterBlock(GUID{});
    dynamics::SimpleLimit limiter;
    limiter.SetChannelCount(kChannels);
    Configure(limiter);
    EXPECT_EQ(RunBlock(limiterBlock), RunEngine(limiter));
}

struct Kind {
    std::unique_ptr<AudioBlock> block;
    GUID typeId;
    uint32_t recordSize;
};

std::vector<Kind> AllKinds() {
    std::vector<Kind> kinds;
    kinds.push_back({std::make_unique<CompressorBlock>(GUID{}), kCompressorBlockTypeId, 16});
    kinds.push_back({std::make_unique<NoiseGateBlock>(GUID{}), kNoiseGateBlockTypeId, 12});
    kinds.push_back({std::make_unique<LimiterBlock>(GUID{}), kLimiterBlockTypeId, 12});
    return kinds;
}

// The refused record would change the result: without parameters the limiter is a mere delay, the
// compressor a wire, and the gate at 0 dB closed.
TEST(DynamicsBlocks, RefuseNullAndShortRecords) {
    for (const Kind& kind : AllKinds()) {
        AudioBlock& block = *kind.block;
        EXPECT_TRUE(block.GetTypeId() == kind.typeId);
        EXPECT_FALSE(block.SetParameters(nullptr));
        EXPECT_FALSE(block.SetParameterData(nullptr, 100));
        for (uint32_t size = 0; size < kind.recordSize; ++size)
            EXPECT_FALSE(block.SetParameterData(kRecord.data(), size)) << size;
        block.SetFormat(1, 4, 48000);
        float previous = 0.0f;
        for (int i = 0; i < 500; ++i) {
            float sample = 0.9f;
            block.Process(&sample, &sample, 1);
            EXPECT_TRUE(sample == 0.0f || sample == 0.9f);
            EXPECT_GE(sample, previous);
            previous = sample;
        }
        EXPECT_TRUE(block.SetParameterData(kRecord.data(), kind.recordSize));
        std::vector<float> samples(4800, 0.9f);
        block.Process(samples.data(), samples.data(), 4800);
        EXPECT_NE(samples.back(), previous);
    }
}

// Any bytes are a record. None may crash, hang or touch what lies beyond the buffers.
TEST(DynamicsBlocks, SurviveAnyRecordAndFormat) {
    std::mt19937 random(5);
    std::array<uint8_t, 16> record;
    for (int round = 0; round < 60; ++round) {
        for (uint8_t& byte : record)
            byte = static_cast<uint8_t>(random());
        if (round % 2 == 0) record[6] = record[7] = 0;  // an attack that has a chance of memory
        for (const Kind& kind : AllKinds()) {
            const int32_t channels = static_cast<int32_t>(random() % 9);
            kind.block->SetFormat(channels, 0,
                                  round % 3 == 0 ? static_cast<int32_t>(random()) : 8000);
            EXPECT_TRUE(kind.block->SetParameterData(record.data(), 16));
            std::vector<float> samples = Noise(static_cast<std::size_t>(64 * channels));
            kind.block->Process(samples.data(), samples.data(), 64);
            kind.block->SetFormat(-1, 0, -1);
        }
    }
}

TEST(DynamicsBlocks, LimiterLooksAheadOneMillisecondForNone) {
    LimiterBlock limiter(GUID{});
    const LimiterParameters parameters{0.0f, 0, 0};
    ASSERT_TRUE(limiter.SetParameterData(&parameters, sizeof(parameters)));
    limiter.SetFormat(1, 4, 48000);
    std::vector<float> in = Noise(200);
    std::vector<float> out(200);
    limiter.Process(in.data(), out.data(), 200);
    EXPECT_EQ(std::vector<float>(out.begin(), out.begin() + 48), std::vector<float>(48, 0.0f));
    EXPECT_TRUE(std::equal(out.begin() + 48, out.end(), in.begin()));
    limiter.SetFormat(1, 4, 0);
    out.assign(200, -99.0f);
    limiter.Process(in.data(), out.data(), 200);
    EXPECT_EQ(out, std::vector<float>(200, -99.0f));
}

}  // namespace
}  // namespace quorvel
