// The block against its stages, put together again by hand.
#include "blocks/matrix_decoder_block.h"

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/surround/block_model.h"
#include "tests/surround/heard.h"

namespace quorvel {
namespace {

using namespace test;

TEST(MatrixDecoderBlock, RendersEveryLayoutThatTheRendererKnows) {
    for (const Conversion& conversion : kConversions) {
        SCOPED_TRACE(conversion.mask);
        const Samples in =
            test::Noise(960 * static_cast<std::size_t>(conversion.channels), conversion.mask);
        const auto block =
            MakeBlock({.decodeEnabled = 0}, conversion.channels, conversion.mask, 44100);
        EXPECT_EQ(block->GetInputChannels(), conversion.channels);
        EXPECT_EQ(block->GetOutputChannels(), 2);
        EXPECT_EQ(block->GetChannelMask(), 3u);
        test::ExpectSameBits(Hear(*block, in),
                             Render(Convert(conversion, in), conversion.rendered, 44100));
    }
    // Layouts that it does not know, and masks with more speakers than channels.
    const struct {
        int32_t channels;
        uint32_t mask;
    } kOthers[] = {{3, 0x7}, {5, 0x37}, {1, 0x3}, {4, 0x3F}, {6, 0x63F}, {2, 0}};
    for (const auto& [channels, mask] : kOthers) {
        const auto block = MakeBlock({.decodeEnabled = 0}, channels, mask);
        EXPECT_EQ(Hear(*block, Samples(10 * static_cast<std::size_t>(channels), 1.0f)),
                  Samples(20, kUntouched));
    }
}

TEST(MatrixDecoderBlock, DecodesPairs) {
    // The classic mode does not hear of options 2 to 4; option 3 would spill into the next bit.
    const MatrixDecoderParameters classic{.option2 = 9, .option3 = 0x1F, .option4 = 1},
        surround{.decodeMode = 1},
        adjustable{.decodeMode = 2,
                   .option2 = 0x10009,
                   .option3 = 3,
                   .option4 = 5,
                   .option5 = 0,
                   .option6 = 1,
                   .option7 = 0},
        backOnly{.decodeMode = 1, .option2 = 9, .option3 = 2, .option4 = 1, .option7 = 4},
        undelayed{.decodeMode = 1, .delaysEnabled = 0};
    const std::array<std::size_t, 8> none{}, ten{0, 0, 0, 0, 441, 441, 441, 441};
    const struct {
        const MatrixDecoderParameters& parameters;
        uint16_t modeWord, flagsWord;  // at 44.1 kHz
        std::array<std::size_t, 8> delays;
    } kCases[] = {
        {classic, 0x1000 + 2 * 32 + 25, 0x704, none},
        {surround, 0x1000 + 3 * 32 + 25, 0x700, ten},
        {adjustable, 0x1000 + 7 * 32 + 25, 0x1000 | 0x300 | 0x90 | 8 | 1, none},
        {backOnly, 0x1000 + 3 * 32 + 25, 0x200 | 8 | 2, ten},
        {undelayed, 0x1000 + 3 * 32 + 25, 0x700, none},
    };
    const struct {
        std::size_t channels;
        uint32_t mask;
        std::size_t pair, kept, sidesTo;
        DecoderOutputs outputs = DecoderOutputs::All;
    } kLayouts[] = {{2, 0x3, 0, 0, 0},
                    {2, 0, 0, 0, 0},
                    {2, 0x33, 0, 0, 0},
                    {3, 0x3, 0, 0, 0},
                    {4, 0x33, 2, 2, 2, DecoderOutputs::FrontAndBacks},
                    {6, 0x3F, 4, 4, 4, DecoderOutputs::FrontAndSides},
                    {6, 0x60F, 4, 4, 4, DecoderOutputs::FrontAndSides}};
    for (const auto& [parameters, modeWord, flagsWord, delays] : kCases) {
        for (const auto& layout : kLayouts) {
            SCOPED_TRACE(testing::Message() << modeWord << ", mask " << layout.mask);
            const Samples in = test::Noise(2000 * layout.channels, 5);
            Samples slots = Decode(in, layout.channels, layout.pair, modeWord, flagsWord, delays,
                                   layout.outputs);
            if (layout.kept > 0) Join(slots, in, layout.channels, layout.kept, layout.sidesTo, 220);
            const auto channels = static_cast<int32_t>(layout.channels);
            const auto block = MakeBlock(parameters, channels, layout.mask, 44100);
            test::ExpectSameBits(Hear(*block, in, 333), RenderDecoded(slots, 44100));
        }
    }
}

// The rate is told by a code, and delays are whole frames: 21 ms are 1007 at 48 kHz, where single
// precision stays below 1008.
TEST(MatrixDecoderBlock, DecodesAtEveryRateThatHasACode) {
    constexpr int32_t kRates[] = {32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000};
    for (std::size_t code = 0; code < std::size(kRates); ++code) {
        SCOPED_TRACE(kRates[code]);
        MatrixDecoderParameters parameters{.decodeMode = 1};
        for (uint32_t& delay : parameters.outputDelaysMs[1])
            delay = 0;
        parameters.outputDelaysMs[1][0] = kRates[code] == 48000 ? 21 : 0;
        const std::array<std::size_t, 8> delays{kRates[code] == 48000 ? 1007u : 0u};
        const auto modeWord = static_cast<uint16_t>(code * 0x1000 + 3 * 32 + 25);
        const Samples in = test::Noise(2 * 2000, 6);
        test::ExpectSameBits(
            Hear(*MakeBlock(parameters, 2, 3, kRates[code]), in),
            RenderDecoded(Decode(in, 2, 0, modeWord, 0x700, delays), kRates[code]));
    }
}

// What is not decoded is rendered as it is: other layouts, and what the decoder cannot work at. One
// that has become unusable stays so until the next format.
TEST(MatrixDecoderBlock, RendersWhatIsNotDecoded) {
    const Samples surround = test::Noise(8 * 500, 1);
    const auto whole = MakeBlock({}, 8, 0x63F);
    test::ExpectSameBits(Hear(*whole, surround),
                         Render(Convert(kConversions[8], surround), 7, 48000));

    const Samples in = test::Noise(2 * 500, 2);
    test::ExpectSameBits(Hear(*MakeBlock({}, 2, 3, 22050), in), Render(in, 2, 22050));
    test::ExpectSameBits(Hear(*MakeBlock({.decodeMode = 3}, 2, 3), in), Render(in, 2, 48000));

    const auto block = MakeBlock({}, 2, 3);
    const Samples decoded = Hear(*block, in);
    const MatrixDecoderParameters good, bad{.decodeMode = 7};
    const auto twin = MakeBlock({}, 2, 3);
    Hear(*twin, in);
    EXPECT_TRUE(block->SetParameters(&bad));  // the call that finds it out is decoded once more
    test::ExpectSameBits(Hear(*block, in, 500), Hear(*twin, in, 500));
    EXPECT_TRUE(block->SetParameters(&good));
    Samples silence(2 * 48000);
    Hear(*block, silence);
    test::ExpectSameBits(Hear(*block, in), Render(in, 2, 48000));
    block->SetFormat(2, 3, 48000);
    test::ExpectSameBits(Hear(*block, in), decoded);
}

// The decoder goes on through all edits. A delay that is edited starts from silence, the others go
// on, and switching the delays off and on makes no new ones.
TEST(MatrixDecoderBlock, TakesUpWhatHasChanged) {
    constexpr std::size_t kFrames = 4000;
    MatrixDecoderParameters parameters{.decodeMode = 1};
    const auto block = MakeBlock(parameters, 2, 3);
    const Samples in = test::Noise(2 * kFrames * 7, 3);
    Samples heard;
    const auto hear = [&](std::size_t i) {
        EXPECT_TRUE(block->SetParameters(&parameters));
        const auto* from = in.data() + 2 * kFrames * i;
        const Samples more = Hear(*block, Samples(from, from + 2 * kFrames));
        heard.insert(heard.end(), more.begin(), more.end());
    };
    hear(0);
    hear(1);
    parameters.delaysEnabled = 0;
    hear(2);
    parameters.delaysEnabled = 1;
    parameters.outputDelaysMs[1][4] = 20;
    hear(3);
    parameters.option7 = 1;
    hear(4);
    parameters.outputDelaysMs[1][4] = 3;
    hear(5);
    parameters.outputDelaysMs[1][4] = 10;
    hear(6);

    Samples slots = Decode(in, 2, 0, 0x2000 + 3 * 32 + 25, 0x700, {}, DecoderOutputs::All,
                           {4 * kFrames, 0x702});
    for (const std::size_t slot : {4, 5, 6, 7}) {
        Delay delays[] = {Delay(480), Delay(0), Delay(960), Delay(144), Delay(480)};
        const std::array<std::size_t, 7> parts =
            slot == 4 ? std::array<std::size_t, 7>{0, 0, 1, 2, 2, 3, 4}
                      : std::array<std::size_t, 7>{0, 0, 1, 0, 0, 0, 0};
        for (std::size_t f = 0; f < 7 * kFrames; ++f)
            slots[8 * f + slot] = delays[parts[f / kFrames]].Pass(slots[8 * f + slot]);
    }
    test::ExpectSameBits(heard, RenderDecoded(slots, 48000));

    EXPECT_FALSE(block->SetParameters(nullptr));
    EXPECT_FALSE(block->SetParameterData(nullptr, 132));
    EXPECT_FALSE(block->SetParameterData(&parameters, 131));
}

// Other options leave both sets of delays alone.
TEST(MatrixDecoderBlock, KeepsDelaysThroughEdits) {
    MatrixDecoderParameters parameters{.decodeMode = 1};
    const auto block = MakeBlock(parameters, 6, 0x3F);
    const Samples in = test::Noise(6 * 4000, 7);
    Samples heard = Hear(*block, Samples(in.begin(), in.begin() + 6 * 2000));
    parameters.option6 = 1;
    EXPECT_TRUE(block->SetParameters(&parameters));
    const Samples more = Hear(*block, Samples(in.begin() + 6 * 2000, in.end()));
    heard.insert(heard.end(), more.begin(), more.end());
    Samples slots = Decode(in, 6, 4, 0x2000 + 3 * 32 + 25, 0x700, {0, 0, 0, 0, 480, 480, 480, 480},
                           DecoderOutputs::FrontAndSides, {2000, 0x1700});
    Join(slots, in, 6, 4, 4, 240);
    test::ExpectSameBits(heard, RenderDecoded(slots, 48000));
}

// A format leaves nothing of the decoder's past, nor does a break without decoding, which clears
// the renderer too.
TEST(MatrixDecoderBlock, StartsFromSilence) {
    const MatrixDecoderParameters parameters{.decodeMode = 1}, off{.decodeEnabled = 0};
    const auto block = MakeBlock(parameters, 6, 0x3F);
    Samples slots, heard;
    for (const uint32_t seed : {7u, 8u}) {
        const Samples in = test::Noise(6 * 2000, seed);
        block->SetFormat(6, 0x3F, 48000);
        const Samples more = Hear(*block, in);
        heard.insert(heard.end(), more.begin(), more.end());
        Samples part = Decode(in, 6, 4, 0x2000 + 3 * 32 + 25, 0x700,
                              {0, 0, 0, 0, 480, 480, 480, 480}, DecoderOutputs::FrontAndSides);
        Join(part, in, 6, 4, 4, 240);
        slots.insert(slots.end(), part.begin(), part.end());
    }
    test::ExpectSameBits(heard, RenderDecoded(slots, 48000));

    const Samples in = test::Noise(6 * 2000, 9);
    EXPECT_TRUE(block->SetParameters(&off));
    Hear(*block, in);
    EXPECT_TRUE(block->SetParameters(&parameters));
    test::ExpectSameBits(Hear(*block, in), Hear(*MakeBlock(parameters, 6, 0x3F), in));
}

// The decoder counts the frames of a call in 16 bits.
TEST(MatrixDecoderBlock, LeavesLongCallsUndecoded) {
    const Samples in = test::Noise(2 * 70000, 4);
    for (const std::size_t frames : {std::size_t{32768}, std::size_t{70000}}) {
        const Samples part(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(2 * frames));
        const Samples slots = Decode(part, 2, 0, 0x2000 + 2 * 32 + 25, 0x704, {});
        test::ExpectSameBits(Hear(*MakeBlock({}, 2, 3), part, frames), RenderDecoded(slots, 48000));
    }
}

// Each allocation fails in its turn: the frame, the delays, the renderer's input.
TEST(MatrixDecoderBlock, DoesWithoutMemory) {
    const MatrixDecoderParameters parameters{.decodeMode = 1};
    const Samples in = test::Noise(2 * 480, 5);
    const Samples decoded = Hear(*MakeBlock(parameters, 2, 3), in);
    const Samples undelayed = Hear(*MakeBlock({.decodeMode = 1, .delaysEnabled = 0}, 2, 3), in);
    const Samples results[] = {Render(in, 2, 48000), undelayed, Samples(960, kUntouched), decoded};
    for (std::size_t i = 0; i < std::size(results); ++i) {
        const auto block = MakeBlock(parameters, 2, 3);
        Samples input = in, out(960, kUntouched);
        {
            const test::AllocationFaults faults(i);
            block->Process(input.data(), out.data(), 480);
            EXPECT_EQ(faults.HasFailed(), i < 3);
        }
        test::ExpectSameBits(out, results[i]);
        const test::AllocationFaults none;
        block->Process(input.data(), out.data(), 480);
        block->Process(input.data(), out.data(), 480);
        EXPECT_LE(none.Asked(), i < 3 ? 2u : 0u);
    }
}

// Silence stays, and what is no audio passes.
TEST(MatrixDecoderBlock, SurvivesAnyInput) {
    for (const Conversion& conversion : kConversions) {
        const auto block = MakeBlock({.decodeMode = 1}, conversion.channels, conversion.mask);
        const auto channels = static_cast<std::size_t>(conversion.channels);
        EXPECT_EQ(Hear(*block, Samples(480 * channels)), Samples(960));
        for (const float sample : Hear(*block, test::RandomSamples(4800 * channels, 6)))
            ASSERT_TRUE(std::isfinite(sample));
        Hear(*block, Samples(48000 * channels));
        EXPECT_EQ(Hear(*block, Samples(480 * channels)), Samples(960));
    }
}

}  // namespace
}  // namespace quorvel
