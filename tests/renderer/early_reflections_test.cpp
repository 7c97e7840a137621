#include "dsp/surround/early_reflections.h"

#include <gtest/gtest.h>

#include "tests/support/ear_measures.h"

namespace quorvel {
namespace {

using test::Spectrum;

// What the reflections make of an impulse on the left, in stretches of changing length.
test::EarResponse Reflect(double sampleRate) {
    const auto length = static_cast<std::size_t>(0.1 * sampleRate);
    EarlyReflections room;
    room.SetUp(sampleRate);
    test::EarResponse ears{sampleRate, std::vector<float>(length), std::vector<float>(length)};
    std::vector<SideFrame> sides(length);
    sides[0][0] = 1.0f;
    for (std::size_t start = 0, count = 0; start < length; start += count) {
        count = std::min(start % 32 + 1, length - start);
        room.Add(sides.data() + start, ears.left.data() + start, ears.right.data() + start,
                 static_cast<int32_t>(count));
    }
    return ears;
}

// A delay of whole frames.
Spectrum Lag(double ms, double frequency, double sampleRate) {
    const double frames = std::round(ms * 1e-3 * sampleRate);
    return std::polar(1.0, -2.0 * std::numbers::pi * frequency * frames / sampleRate);
}

// Two at the own ear, the second in anti-phase, and one at the other between them: by the ratio of
// the ears, in which the filters before them cancel. The level is told where these have no effect.
TEST(EarlyReflections, ComeWhenAndWhereTheyShould) {
    for (const double sampleRate : {32000.0, 48000.0, 96000.0, 176400.0, 192000.0, 384000.0}) {
        const test::EarResponse ears = Reflect(sampleRate);
        for (const double frequency : {500.0, 730.0, 1100.0, 1900.0, 3000.0}) {
            const Spectrum left = test::At(ears.left, frequency, sampleRate);
            const Spectrum right = test::At(ears.right, frequency, sampleRate);
            const Spectrum expected =
                (Lag(4.3, frequency, sampleRate) - 0.8 * Lag(9.7, frequency, sampleRate)) /
                (0.9 * Lag(6.9, frequency, sampleRate));
            EXPECT_LT(std::abs(left / right - expected), 0.02) << sampleRate << ", " << frequency;
        }
        EXPECT_NEAR(std::abs(test::At(ears.right, 1100.0, sampleRate)), 0.9 * 0.163, 0.002)
            << sampleRate;
    }
}

// Where not every frame is kept, reflections come at the same time, and without images.
TEST(EarlyReflections, AreTheSameWhereTheyAreSpaced) {
    const auto right = [](const test::EarResponse& ears, double frequency) {
        return test::At(ears.right, frequency, ears.sampleRate) /
               Lag(6.9, frequency, ears.sampleRate);
    };
    const Spectrum expected = right(Reflect(96000.0), 1900.0);
    for (const double sampleRate : {176400.0, 192000.0, 384000.0}) {
        const test::EarResponse ears = Reflect(sampleRate);
        EXPECT_LT(std::abs(right(ears, 1900.0) / expected - 1.0), 0.012) << sampleRate;
        const double kept = sampleRate > 200000.0 ? sampleRate / 4.0 : sampleRate / 2.0;  // Hz
        EXPECT_LT(std::abs(right(ears, kept - 1900.0)), 1e-3) << sampleRate;
    }
}

}  // namespace
}  // namespace quorvel
