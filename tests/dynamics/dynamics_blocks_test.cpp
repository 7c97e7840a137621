// The three blocks: their records, and that they hand everything to their engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "dsp/dynamics/linked_gain.h"
#include "dsp/dynamics/simple_comp.h"
#include "dsp/dynamics/simple_gate.h"
#include "dsp/dynamics/simple_limit.h"
#include "engine/block_factory.h"
#include "kinds/block_type_ids.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

// A record byte by byte: threshold -20 dB, attack 5 ms, release 2^31 + 80 ms, ratio 0.25.
constexpr std::array<uint8_t, 16> kRecord = {0x00, 0x00, 0xA0, 0xC1, 5, 0, 0,    0,
                                             80,   0,    0,    0x80, 0, 0, 0x80, 0x3E};
constexpr double kReleaseMs = 2147483728.0;

constexpr int32_t kFrames = 1000;
constexpr int32_t kChannels = 3;
constexpr std::size_t kSamples = kFrames * kChannels;

// Runs `block` on noise; half of it in place, with a Reset between the halves.
std::vector<float> RunBlock(AudioBlock& block) {
    block.SetFormat(kChannels, 0xB, 96000);
    std::vector<float> in = test::Noise(kSamples, 11);
    std::vector<float> out(kSamples);
    block.Process(in.data(), out.data(), kFrames / 2);
    block.Reset();
    std::copy(in.begin() + kSamples / 2, in.end(), out.begin() + kSamples / 2);
    block.Process(out.data() + kSamples / 2, out.data() + kSamples / 2, kFrames / 2);
    return out;
}

// The same without a Reset, by the engine alone, set as kRecord says.
template <typename Engine>
std::vector<float> RunEngine(Engine engine) {
    engine.SetSampleRate(96000.0);
    engine.SetThreshold(-20.0);
    engine.SetAttack(5.0);
    engine.SetRelease(kReleaseMs);
    const std::vector<float> in = test::Noise(kSamples, 11);
    std::vector<float> out(kSamples);
    dynamics::ProcessLinked(engine, in.data(), out.data(), kFrames, kChannels);
    EXPECT_NE(in, out);
    return out;
}

constexpr std::pair<GUID, uint32_t> kKinds[] = {
    {kCompressorBlockTypeId, 16}, {kNoiseGateBlockTypeId, 12}, {kLimiterBlockTypeId, 12}};

TEST(DynamicsBlocks, RunTheirEngineWithTheFieldsOfTheRecord) {
    dynamics::SimpleComp compressor;
    compressor.SetRatio(0.25);
    dynamics::SimpleLimit limiter;
    limiter.SetChannelCount(kChannels);
    const std::vector<float> expected[] = {RunEngine(compressor), RunEngine(dynamics::SimpleGate()),
                                           RunEngine(limiter)};
    for (std::size_t kind = 0; kind < std::size(kKinds); ++kind) {
        const auto& [typeId, size] = kKinds[kind];
        const auto block = CreateBlock(typeId, GUID{});
        EXPECT_TRUE(block->SetParameterData(kRecord.data(), size));
        EXPECT_EQ(RunBlock(*block), expected[kind]);
    }
}

// Any bytes are a record. None may crash, hang or touch what lies beyond the buffers.
TEST(DynamicsBlocks, SurviveAnyRecordAndFormat) {
    std::mt19937 random(5);
    std::array<uint8_t, 16> record;
    for (int round = 0; round < 60; ++round) {
        std::ranges::generate(record, [&] { return static_cast<uint8_t>(random()); });
        if (round % 2 == 0) record[6] = record[7] = 0;  // an attack that has a chance of memory
        for (const auto& [typeId, size] : kKinds) {
            const auto block = CreateBlock(typeId, GUID{});
            const int32_t channels = static_cast<int32_t>(random() % 9);
            const int32_t rate = round % 3 == 0 ? static_cast<int32_t>(random()) : 8000;
            block->SetFormat(channels, 0, rate);
            EXPECT_TRUE(block->SetParameterData(record.data(), 16));
            std::vector<float> samples = test::Noise(static_cast<std::size_t>(64 * channels), 11);
            block->Process(samples.data(), samples.data(), 64);
            block->SetFormat(-1, 0, -1);
        }
    }
}

}  // namespace
}  // namespace quorvel
