#include "blocks/surround_block.h"

#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using Samples = std::vector<float>;

constexpr GUID kNoId{};
constexpr std::size_t kFrames = 480;

// The block beside the two that it is made of, which hear the same input.
struct Switchable {
    explicit Switchable(int32_t channels, uint32_t mask, int32_t rate = 48000)
        : in(test::Noise(kFrames * static_cast<std::size_t>(channels), mask)) {
        block.SetFormat(channels, mask, rate);
        decoder.SetFormat(channels, mask, rate);
        plain.SetFormat(channels, mask, rate);
    }

    void Set(int32_t surroundOn) {
        const SurroundParameters parameters{.surroundOn = surroundOn};
        EXPECT_TRUE(block.SetParameterData(&parameters, sizeof(parameters)));
    }

    Samples Run(AudioBlock& runs, std::size_t frames = kFrames) {
        Samples input = in, out(2 * frames, test::kUntouched);
        runs.Process(input.data(), out.data(), static_cast<int32_t>(frames));
        return out;
    }

    // One buffer of a fade that is `done` frames old, with both blocks run.
    Samples Fade(bool toSurround, std::size_t done, std::size_t fadeFrames,
                 std::size_t frames = kFrames) {
        const Samples surround = Run(decoder, frames), folded = Run(plain, frames);
        const Samples &outgoing = toSurround ? folded : surround,
                      &incoming = toSurround ? surround : folded;
        const float step = 1.0f / static_cast<float>(fadeFrames);
        float inGain = 0.0f, outGain = 1.0f;
        for (std::size_t i = 0; i < done; ++i)
            inGain += step, outGain -= step;
        Samples mix = surround;
        for (std::size_t f = 0; f < std::min(frames, fadeFrames - done); ++f) {
            for (const std::size_t i : {2 * f, 2 * f + 1})
                mix[i] = outgoing[i] * outGain + inGain * incoming[i];
            inGain += step, outGain -= step;
        }
        return mix;
    }

    Samples in;
    SurroundBlock block{kNoId};
    MatrixDecoderBlock decoder{kNoId};
    BypassBlock plain{kNoId};
};

TEST(SurroundBlock, SwitchesAtOnceForTheFirstRecord) {
    for (const uint32_t mask : {0x3u, 0x33u, 0x3Fu, 0x63Fu}) {
        const int32_t channels = std::popcount(mask);
        Switchable plain(channels, mask), surround(channels, mask), negative(channels, mask);
        EXPECT_EQ(plain.block.GetInputChannels(), channels);
        EXPECT_EQ(plain.block.GetOutputChannels(), 2);
        EXPECT_EQ(plain.block.GetChannelMask(), 3u);
        test::ExpectSameBits(plain.Run(plain.block), plain.Run(plain.plain));
        plain.Set(0);
        test::ExpectSameBits(plain.Run(plain.block), plain.Run(plain.plain));
        surround.Set(1);
        test::ExpectSameBits(surround.Run(surround.block), surround.Run(surround.decoder));
        negative.Set(-7);
        test::ExpectSameBits(negative.Run(negative.block), negative.Run(negative.decoder));
    }
    SurroundBlock block(kNoId);
    const SurroundParameters parameters;
    EXPECT_FALSE(block.SetParameterData(&parameters, 135));
    EXPECT_FALSE(block.SetParameterData(nullptr, 136));
    EXPECT_FALSE(block.SetParameters(nullptr));
}

TEST(SurroundBlock, FadesForOneSecond) {
    Switchable sound(6, 0x3F);
    sound.Set(0);
    sound.Set(1);
    for (std::size_t done = 0; done < 48000; done += kFrames)
        test::ExpectSameBits(sound.Run(sound.block), sound.Fade(true, done, 48000));
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.decoder));
    // The same record again changes nothing; a second one during a fade starts it anew.
    sound.Set(1);
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.decoder));
    sound.Set(0);
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(false, 0, 48000));
    sound.Set(1);
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(true, 0, 48000));
}

// The buffer in which a fade ends is the decoder's from there on, in both directions.
TEST(SurroundBlock, EndsFadesWithTheDecoder) {
    for (const bool toSurround : {false, true}) {
        Switchable sound(2, 0x3, 1000);
        sound.Set(toSurround ? 0 : 1);
        sound.Set(toSurround ? 1 : 0);
        for (const std::size_t done : {0, 480, 960})
            test::ExpectSameBits(sound.Run(sound.block), sound.Fade(toSurround, done, 1000));
        AudioBlock& left = toSurround ? static_cast<AudioBlock&>(sound.decoder) : sound.plain;
        test::ExpectSameBits(sound.Run(sound.block), sound.Run(left));
    }
}

// Any value but 0 is faded to; only a positive one is heard then. A record of -1 counts as none
// when the next one comes.
TEST(SurroundBlock, FadesToAnyValueAndPlaysOnlyPositiveOnes) {
    Switchable sound(2, 0x3, 400);
    sound.Set(0);
    sound.Set(-1);
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(true, 0, 400));
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.plain));
    sound.Set(1);
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.decoder));
    sound.Set(2);  // from the decoder to itself, by way of the plain signal
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(true, 0, 400));
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.decoder));
}

// Every record reaches the decoder, whatever it says of the switch.
TEST(SurroundBlock, PassesOnWhatTheDecoderIsTold) {
    Switchable sound(2, 0x3);
    SurroundParameters told{.surroundOn = 0, .decoderParameters = {.decodeMode = 1, .option7 = 1}};
    const auto tell = [&] {
        EXPECT_TRUE(sound.block.SetParameterData(&told, sizeof(told)));
        EXPECT_TRUE(sound.decoder.SetParameters(&told.decoderParameters));
    };
    tell();
    test::ExpectSameBits(sound.Run(sound.block), sound.Run(sound.plain));
    for (const int32_t surroundOn : {1, 0}) {
        told.surroundOn = surroundOn;
        told.decoderParameters.outputDelaysMs[1][4] = surroundOn ? 5 : 20;
        told.decoderParameters.option5 = static_cast<uint32_t>(surroundOn);
        tell();
        for (std::size_t done = 0; done < 4 * kFrames; done += kFrames)
            test::ExpectSameBits(sound.Run(sound.block), sound.Fade(surroundOn != 0, done, 48000));
    }
}

TEST(SurroundBlock, LeavesAFadeAloneWithoutFrames) {
    Switchable sound(2, 0x3);
    sound.Set(0);
    sound.Set(1);
    for (const int32_t frames : {0, -1, -480})
        sound.block.Process(nullptr, nullptr, frames);
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(true, 0, 48000));
}

TEST(SurroundBlock, FadesWithoutMemory) {
    Switchable sound(2, 0x3);
    sound.Set(1);
    sound.Run(sound.block);
    sound.Run(sound.decoder);
    sound.Set(0);
    {
        const test::AllocationFaults faults(0);
        const Samples heard = sound.Run(sound.block);
        EXPECT_TRUE(faults.HasFailed());
        test::ExpectSameBits(heard, sound.Run(sound.decoder));
    }
    test::ExpectSameBits(sound.Run(sound.block), sound.Fade(false, kFrames, 48000));
    const test::AllocationFaults none;
    sound.Run(sound.block);
    EXPECT_EQ(none.Asked(), 0u);
}

}  // namespace
}  // namespace quorvel
