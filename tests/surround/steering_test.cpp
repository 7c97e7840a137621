// Where sounds begin: the steering and the matrices of the bands, without the rest of the stage.
#include "dsp/surround/steering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "dsp/surround/band_matrix.h"
#include "tests/support/ear_measures.h"

namespace quorvel {
namespace {

constexpr int32_t kTick = 16;  // frames at 48 kHz
constexpr DecoderOptions kOptions = {.mode = DecoderMode::Surround};

// The steered bands of one pair, and the same matrices at work on another one.
class Decoder {
  public:
    Decoder() {
        steered.SetUp(48000.0);
        other.SetUp(48000.0);
        for (int32_t b = 0; b < kBandCount; ++b) {
            rates[b] = MakeSteeringRates(b, 48000.0, kTick, false);
            matrices[b].Rest(passive);
        }
    }

    // One tick. What the matrices, which `pairs` steer, make of `part`.
    std::array<SpeakerImage, kTick> Pass(const float (&pairs)[kTick][2],
                                         const float (&part)[kTick][2]) {
        std::array<SpeakerImage, kTick> outputs{}, unheard{};
        BandFrame bands[kBandCount][kTick], parts[kBandCount][kTick];
        steered.Divide(pairs[0], {bands[0], bands[1], bands[2]}, kTick);
        other.Divide(part[0], {parts[0], parts[1], parts[2]}, kTick);
        for (int32_t b = 0; b < kBandCount; ++b) {
            BandMatrix copy = matrices[b];
            copy.Apply(parts[b], outputs.data(), kTick);
            matrices[b].Apply(bands[b], unheard.data(), kTick);
            steering[b].Listen(rates[b], bands[b], kTick);
            steering[b].Follow(rates[b]);
            matrices[b].Aim(passive, images, steering[b].x, steering[b].y, kTick, 1.0f);
        }
        return outputs;
    }

  private:
    const PassiveMatrix passive = MakePassiveMatrix(kOptions);
    const SourceImageOptions images = MakeSourceImageOptions(kOptions);
    QuadratureBands steered{}, other{};
    SteeringRates rates[kBandCount] = {};
    BandSteering steering[kBandCount] = {};
    BandMatrix matrices[kBandCount] = {};
};

constexpr double kHalf = 0.70710678118654752;
struct Direction {
    double left, right;
    int places[2];  // outputs where it belongs: fronts 0 to 3, rears 4 to 7
};
const Direction kDirections[] = {{1.0, 0.0, {0, 0}},
                                 {kHalf, kHalf, {2, 2}},
                                 {kHalf, -kHalf, {6, 7}},
                                 {0.0, 1.0, {1, 1}},
                                 {std::cos(M_PI / 8), std::sin(M_PI / 8), {0, 2}}};

constexpr int kOnset = 450 * kTick + 5;  // frames, in a tick
constexpr double kEndsMs[] = {1.0, 2.0, 5.0, 20.0};
using Powers = std::array<double, 4>;  // by the time since the onset

// A shot over a bed of ambience. Adds what is heard of it, from elsewhere and in all.
void Shoot(Decoder& decoder, std::mt19937& random, const Direction& direction, double bed,
           Powers& leaks, Powers& totals) {
    std::normal_distribution<double> gauss(0.0, 1.0);
    for (int32_t start = 0; start < kOnset + 960; start += kTick) {
        float pairs[kTick][2], shot[kTick][2];
        for (int f = 0; f < kTick; ++f) {
            const int since = start + f - kOnset;
            const double x = since < 0 ? 0.0 : 0.3 * gauss(random) * std::exp(-since / 1440.0);
            shot[f][0] = static_cast<float>(direction.left * x);
            shot[f][1] = static_cast<float>(direction.right * x);
            for (const int c : {0, 1})
                pairs[f][c] = shot[f][c] + static_cast<float>(bed * gauss(random));
        }
        const auto outputs = decoder.Pass(pairs, shot);
        for (int f = 0; f < kTick; ++f) {
            const double ms = (start + f - kOnset) / 48.0;
            const auto span =
                static_cast<std::size_t>(std::ranges::upper_bound(kEndsMs, ms) - kEndsMs);
            if (ms < 0.0 || span == std::size(kEndsMs)) continue;
            for (int i = 0; i < 8; ++i) {
                const double y = i < 4 ? outputs[f].front[i] : outputs[f].rear[i - 4];
                totals[span] += y * y;
                if (i != direction.places[0] && i != direction.places[1]) leaks[span] += y * y;
            }
        }
    }
}

// Fourteen shots, each from another direction than the one before: how much is heard from
// elsewhere.
TEST(Steering, ShotsBeginInTheirPlaces) {
    const struct {
        double bed;  // RMS of each channel
        Powers mostDb;
    } kBeds[] = {
        {0.0, {-4.5, -30, -45, -45}}, {1e-3, {-4.5, -30, -45, -45}}, {1e-2, {-4.5, -15, -15, -15}}};
    constexpr int kOrder[] = {0, 1, 0, 3, 2, 4, 3, 1, 2, 0, 2, 1, 4, 3};
    for (const auto& [bed, mostDb] : kBeds) {
        Powers leaks{}, totals{};
        std::mt19937 random(5);
        Decoder decoder;
        for (const int index : kOrder)
            Shoot(decoder, random, kDirections[index], bed, leaks, totals);
        for (std::size_t i = 0; i < leaks.size(); ++i)
            EXPECT_LT(test::Decibels(leaks[i] / totals[i]), mostDb[i])
                << "over " << bed << ", to " << kEndsMs[i] << " ms";
    }
}

// What the low band hears of a pair: tones of 90 Hz on the left, of `frequency` on the right.
SteeringDirection SteerLow(double frequency, double right) {
    const SteeringRates rates = MakeSteeringRates(0, 48000.0, kTick, false);
    BandSteering steering;
    for (int32_t f = 0; f < 96000; ++f) {
        const double t = 2.0 * M_PI * f / 48000.0;
        const BandFrame frame = {static_cast<float>(0.1 * std::sin(90.0 * t)),
                                 static_cast<float>(right * std::cos(frequency * t))};
        steering.Listen(rates, &frame, 1);
        if (f % kTick == 0) steering.Follow(rates);
    }
    return {steering.x, steering.y};
}

// What cannot be heard does not steer: 25 Hz lose half of their power, a constant all of it.
TEST(Steering, HearsNothingBelowTwentyFiveHertz) {
    EXPECT_GT(SteerLow(0.0, 1.0).x, 0.95f);
    EXPECT_NEAR(SteerLow(25.0, 0.1).x, (0.93 - 0.5) / (0.93 + 0.5), 0.03);
    EXPECT_NEAR(SteerLow(120.0, 0.1).x, 0.0f, 0.05f);
}

// Every band averages over its own time: after that time 1 - 1/e of a step has arrived.
TEST(Steering, AveragesOverItsTimes) {
    constexpr int32_t kMs[kBandCount] = {16, 6, 6};
    for (int32_t b = 0; b < kBandCount; ++b) {
        const SteeringRates rates = MakeSteeringRates(b, 48000.0, kTick, false);
        BandSteering steering;
        for (int32_t f = 0; f < 48 * kMs[b]; ++f) {
            const BandFrame frame = {f % 2 ? 0.5f : -0.5f, f % 2 ? -0.3f : 0.3f};
            steering.Listen(rates, &frame, 1);
        }
        EXPECT_NEAR(steering.covariance[0], 0.632f * 0.25f, 0.001f) << b;
        EXPECT_NEAR(steering.covariance[1], 0.632f * 0.09f, 0.001f) << b;
        EXPECT_NEAR(steering.covariance[2], 0.632f * -0.15f, 0.001f) << b;
    }
}

// Below hearing the direction is held, and the next sound is followed at once.
TEST(Steering, HoldsItsDirectionInSilence) {
    const SteeringRates rates = MakeSteeringRates(1, 48000.0, kTick, false);
    BandSteering steering;
    const auto play = [&](float left, float right, int32_t ticks) {
        for (int32_t i = 0; i < ticks * kTick; ++i) {
            const BandFrame frame = {i % 2 ? left : -left, i % 2 ? right : -right};
            steering.Listen(rates, &frame, 1);
            if (i % kTick == kTick - 1) steering.Follow(rates);
        }
    };
    play(0.1f, 0.0f, 600);
    EXPECT_NEAR(steering.x, 1.0f, 1e-3f);
    play(0.0f, 1e-6f, 600);
    EXPECT_GT(steering.x, 0.9f);
    play(0.1f, 0.1f, 1);
    EXPECT_NEAR(steering.y, 1.0f, 1e-3f);
}

}  // namespace
}  // namespace quorvel
