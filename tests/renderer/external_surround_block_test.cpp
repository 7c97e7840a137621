#include "blocks/external_surround_block.h"

#include <gtest/gtest.h>

#include <cstring>

#include "dsp/routing/fold_down.h"
#include "dsp/surround/head_model.h"
#include "dsp/surround/stereo_renderer_stage.h"
#include "tests/renderer/recording_engine.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/ear_measures.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

constexpr GUID kId = {};

// A block with a recording engine; what the constructor did is forgotten.
struct Recorded {
    std::string log{};
    int32_t answer = 0;
    ExternalSurroundBlock block{kId, ExternalEngine(new test::RecordingEngine(log, answer))};

    // The calls since the last question.
    std::string Calls() { return std::exchange(log, {}); }
};

TEST(ExternalSurroundBlock, TellsTheEngineRateLayoutAndAngles) {
    const struct {
        int32_t channels;
        std::string configuration, angles;
        int32_t refusal = 0;
    } kFormats[] = {{3, "", "0 0 0 0 0 0 0 0"},
                    {6, "Configuration 3;", "30 -30 0 0 110 -110 0 0"},
                    {7, "", "30 -30 0 0 110 -110 0 0"},
                    {1, "Configuration 1;", "75 -75 0 0 0 0 0 0"},
                    {8, "Configuration 4;", "30 -30 0 0 150 -150 90 -90"},
                    {2, "Configuration 1;", "75 -75 0 0 0 0 0 0"},
                    {4, "Configuration 2;", "30 -30 110 -110 0 0 0 0"},
                    {9, "", "30 -30 110 -110 0 0 0 0"},
                    {0, "", "30 -30 110 -110 0 0 0 0"},
                    {8, "Configuration 4;", "30 -30 110 -110 0 0 0 0", 1}};
    Recorded recorded;
    for (const auto& format : kFormats) {
        recorded.answer = format.refusal;
        recorded.block.SetFormat(format.channels, 0, 44100);
        EXPECT_EQ(recorded.Calls(),
                  "Rate 44100;" + format.configuration + "Angles " + format.angles + ";");
        EXPECT_EQ(recorded.block.GetInputChannels(), format.channels);
        EXPECT_EQ(recorded.block.GetOutputChannels(), 2);
        EXPECT_EQ(recorded.block.GetChannelMask(), 3u);
        EXPECT_FALSE(recorded.block.CanProcessInPlace());
        float in[9] = {}, out[] = {5, 5, 5, 5, 5};
        recorded.block.Process(in, out, 2);
        const bool isSilent = format.configuration.empty() || format.refusal;
        EXPECT_EQ(recorded.Calls().empty(), isSilent) << format.channels;
        EXPECT_EQ(out[3], isSilent ? 0.0f : 4.0f) << format.channels;
        EXPECT_EQ(out[4], 5.0f);
    }
}

TEST(ExternalSurroundBlock, PassesParametersOnInOrder) {
    Recorded recorded;
    recorded.block.SetFormat(8, 0x63F, 48000);
    recorded.Calls();
    ExternalSurroundParameters defaults,
        custom = {
            7, 0, 0.5f, 0, {45, -45, 0, 1, 135, -135, 90, -32768}, {1, 2, 3, 4, 5, 6, 7, 8}, 0.25f};
    EXPECT_FALSE(recorded.block.SetParameterData(&custom, 67));
    EXPECT_EQ(recorded.Calls(), "");
    const uint32_t size = sizeof(custom);
    EXPECT_TRUE(recorded.block.SetParameterData(&custom, size));
    EXPECT_EQ(recorded.Calls(),
              "B 0;ValueA 0.5;Effect 1;Values 1 2 3 4 5 6 7 8;ValueB 0.25;"
              "Angles 45 -45 0 1 135 -135 90 -32768;");
    recorded.block.SetFormat(2, 3, 48000);
    EXPECT_EQ(recorded.Calls(), "Rate 48000;Configuration 1;Angles 45 -45 0 1 135 -135 90 -32768;");
    EXPECT_TRUE(recorded.block.SetParameterData(&defaults, size));
    EXPECT_EQ(recorded.Calls(),
              "B 1;ValueA 0.15;Effect 0;Values 1 1 1 1 1 1 1 1;ValueB 1;"
              "Angles 75 -75 0 0 0 0 0 0;");
}

TEST(ExternalSurroundBlock, SpreadsMonoAndRaisesTheEffect) {
    Recorded recorded;
    recorded.block.SetFormat(1, 4, 48000);
    recorded.Calls();
    float in[] = {1.0f, 0.5f}, out[4] = {};
    recorded.block.Process(in, out, 2);
    EXPECT_EQ(recorded.Calls(), "Render 2 0.707946 0.707946;");
    EXPECT_EQ(out[2], 3.0f);

    std::vector<float> more(200), ears(400, 5.0f);
    const test::AllocationFaults faults(0);
    recorded.block.Process(more.data(), ears.data(), 200);
    EXPECT_TRUE(faults.HasFailed());
    EXPECT_EQ(ears, std::vector<float>(400));

    ExternalSurroundParameters parameters;
    parameters.effectEnabled = 2;
    recorded.block.SetParameters(&parameters);
    for (const int32_t width : {1, 2, 8}) {  // raised for all layouts, filtered for none
        float wide[16] = {};
        recorded.block.SetFormat(width, 0, 48000);
        recorded.block.Process(wide, out, 2);
        for (const int i : {0, 1, 2, 3})
            EXPECT_EQ(out[i], static_cast<float>(i + 1) * 1.2589254f);
    }
}

// The engine never sees one buffer for both: not of a direct call, nor where the graph has only
// one.
TEST(ExternalSurroundBlock, KeepsInputAndOutputApart) {
    Recorded recorded;
    recorded.block.SetFormat(2, 3, 48000);
    recorded.Calls();
    float sound[] = {0.5f, 0.25f, 0.0f, 0.0f};
    recorded.block.Process(sound, sound, 2);
    EXPECT_EQ(recorded.Calls(), "Render 2 0.5 0.25;");
    EXPECT_EQ(sound[3], 4.0f);
    std::vector<float> more(400, 1.0f);
    const test::AllocationFaults faults(0);
    recorded.block.Process(more.data(), more.data(), 200);
    EXPECT_TRUE(faults.HasFailed());
    EXPECT_EQ(more, std::vector<float>(400));
}

TEST(ExternalSurroundBlock, OwnsItsEngineOrDoesWithout) {
    std::string log;
    const int32_t answer = 0;
    { ExternalSurroundBlock block(kId, ExternalEngine(new test::RecordingEngine(log, answer))); }
    EXPECT_EQ(log, "Destroy;");
    ExternalSurroundBlock none(kId, {});
    none.SetFormat(2, 3, 48000);
    ExternalSurroundParameters parameters;
    EXPECT_TRUE(none.SetParameters(&parameters));
    float in[2] = {1, 1}, out[] = {5, 5};
    none.Process(in, out, 1);
    EXPECT_EQ(out[1], 0.0f);
}

// The library knows the operations by their slots in the virtual table (Itanium C++ ABI here, the
// same order on Windows).
TEST(ExternalEngine, OperationsStandInTheirSlots) {
    std::string log;
    const int32_t answer = 0;
    INineEarsSurroundSound* engine = new test::RecordingEngine(log, answer);
    const auto call = [&]<typename... Arguments>(int slot, Arguments... arguments) {
        using Operation = void (*)(void*, Arguments...);
        Operation* table = nullptr;
        std::memcpy(&table, static_cast<void*>(engine), sizeof(table));
        table[slot](engine, arguments...);
    };
    const float eight[8] = {};
    float out[2] = {};
    for (const int slot : {1, 3, 5, 7})
        call(slot, 1);
    for (const int slot : {9, 15})
        call(slot, 0.5f);
    for (const int slot : {11, 13})
        call(slot, eight);
    call(17, eight, 1, out);
    call(0);
    EXPECT_EQ(log,
              "Rate 1;Configuration 1;B 1;Effect 1;ValueA 0.5;ValueB 0.5;"
              "Angles 0 0 0 0 0 0 0 0;Values 0 0 0 0 0 0 0 0;Render 1 0 0;Destroy;");
}

// What the substitute gives for 5.1 is what the renderer stage gives for the same speakers, but for
// the levels of the fold-down: those of the surrounds are higher.
TEST(SubstituteEngine, RendersItsLayoutLikeTheStage) {
    constexpr int32_t kFrames = 1000;
    auto in = test::Noise(6 * kFrames, 4);
    const auto raised = static_cast<float>(std::pow(10.0, -LevelDbAt(110.0) / 20.0));
    const float centre = 0.70794576f * std::sqrt(2.0f);  // -3 dB to each side, both in phase
    const float levels[] = {1.0f, 1.0f, centre, 0.0f, 0.5f * raised, raised};
    std::vector<float> five;
    for (std::size_t i = 0; i < in.size(); i += 6) {
        in[i + 3] = 0.0f;
        for (const std::size_t c : {0u, 2u, 1u, 4u, 5u})
            five.push_back(in[i + c] * levels[c]);
    }
    const ExternalEngine engine = CreateExternalEngine();
    std::vector<float> out(2 * kFrames, 5.0f), expected(out);
    engine->Render(in.data(), kFrames, out.data());
    EXPECT_EQ(out, std::vector<float>(out.size()));  // no configuration yet
    EXPECT_NE(engine->SetSpeakerConfiguration(5), 0);
    EXPECT_EQ(engine->SetSpeakerConfiguration(3), 0);
    EXPECT_NE(engine->SetSpeakerConfiguration(0), 0);

    const float values[8] = {1, 1, 1, 1, 0.5f, 1, 1, 1};
    const float angles[8] = {30, 330, 0, -720, 110, -110, NAN, 1e30f};
    engine->SetChannelValues(values);
    for (const int32_t rate : {96000, 48000, 48000}) {  // enabled anew, it starts from silence
        engine->SetSampleRate(rate);
        engine->SetSpeakerAngles(angles);
        engine->SetEffectEnabled(0);
        engine->SetEffectEnabled(1);
        std::vector<std::byte> memory(kStereoRendererMemory);
        StereoRendererState stage{5, StereoRendererRateCode(rate), memory.data()};
        RenderStereo(stage, five.data(), expected.data(), kFrames);
        for (float& sample : expected)
            sample *= 1.9952623f;
        engine->Render(in.data(), kFrames, out.data());
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_NEAR(out[i], expected[i], 1e-5f) << i;
    }

    engine->SetEffectEnabled(0);
    engine->Render(in.data(), kFrames, out.data());
    for (std::size_t i = 4; i < in.size(); i += 6)
        in[i] *= 0.5f;
    FoldFrames(*FindFoldDown(0x3F, 2), in.data(), expected.data(), kFrames, 6);
    test::ExpectSameBits(out, expected);
}

// The ears' responses to an impulse in one channel of a layout.
test::EarResponse Measure(INineEarsSurroundSound& engine, std::size_t channels,
                          std::size_t channel) {
    constexpr std::size_t kLength = 4096;
    std::vector<float> in(channels * kLength), out(2 * kLength);
    in[channel] = 1.0f;
    engine.Render(in.data(), kLength, out.data());
    test::EarResponse ears;
    for (std::size_t i = 0; i < kLength; ++i) {
        ears.left.push_back(out[2 * i]);
        ears.right.push_back(out[2 * i + 1]);
    }
    return ears;
}

// Switching the effect on changes no channel's level: at the usual angles and at others.
TEST(SubstituteEngine, IsAsLoudAsTheFoldDown) {
    const struct {
        std::size_t channels;
        int32_t code;
        float angles[8];
    } kLayouts[] = {{2, 1, {75, -75}},
                    {2, 1, {0, 180}},
                    {4, 2, {30, -30, 110, -110}},
                    {6, 3, {30, -30, 0, 0, 110, -110}},
                    {6, 3, {50, -15, 100, -140, 165, -135}},
                    {8, 4, {30, -30, 0, 0, 150, -150, 90, -90}}};
    for (const auto& [channels, code, angles] : kLayouts) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const ExternalEngine engine = CreateExternalEngine();
            engine->SetSpeakerConfiguration(code);
            engine->SetSpeakerAngles(angles);
            const double folded = test::LoudnessDb(Measure(*engine, channels, channel));
            engine->SetEffectEnabled(1);
            EXPECT_NEAR(test::LoudnessDb(Measure(*engine, channels, channel)), folded, 0.5)
                << channel << " of " << channels << ", at " << angles[channel];
        }
    }
}

// Angles that are none act as 0, rates beyond the bounds as the nearest, and every layout folds
// down as its speakers do.
TEST(SubstituteEngine, IsSafeWithWhateverItIsTold) {
    constexpr int32_t kFrames = 1000;
    const auto in = test::Noise(8 * kFrames, 5);
    const auto render = [&](int32_t rate, float angle) {
        const ExternalEngine engine = CreateExternalEngine();
        const float angles[8] = {30, -30, 0, 0, 150, angle, 90, angle};
        engine->SetSampleRate(rate);
        EXPECT_EQ(engine->SetSpeakerConfiguration(4), 0);
        engine->SetSpeakerAngles(angles);
        engine->SetEffectEnabled(1);
        std::vector<float> out(2 * kFrames);
        for (int32_t f = 0; f < kFrames; f += 100)
            engine->Render(in.data() + 8 * f, 100, out.data() + 2 * f);
        return out;
    };
    test::ExpectSameBits(render(768000, -90.0f), render(384000, -90.0f));
    test::ExpectSameBits(render(-1, -90.0f), render(10, -90.0f));
    EXPECT_NE(render(32000, -90.0f), render(96000, -90.0f));
    for (const float none : {NAN, INFINITY, -INFINITY})
        test::ExpectSameBits(render(48000, none), render(48000, 0.0f));
    for (const float sample : render(48000, 1e30f))
        ASSERT_TRUE(std::isfinite(sample));

    constexpr uint32_t kMasks[] = {0, 0x3, 0x33, 0x3F, 0x63F};
    for (const int32_t code : {1, 2, 3, 4}) {
        const uint32_t mask = kMasks[code];
        const ExternalEngine engine = CreateExternalEngine();
        engine->SetSpeakerConfiguration(code);
        std::vector<float> out(2 * 100), expected(out);
        engine->Render(in.data(), 100, out.data());
        FoldFrames(*FindFoldDown(mask, 2), in.data(), expected.data(), 100,
                   static_cast<uint32_t>(std::popcount(mask)));
        test::ExpectSameBits(out, expected);
    }
}

}  // namespace
}  // namespace quorvel
