// The decoder's bars: where a source comes out, how fast, and what else is heard with it.
#include "blocks/surround/matrix_decoder_stage.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "tests/support/pink_noise.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using test::Analytic;
using Pairs = std::vector<std::array<float, 2>>;
using Complex = std::complex<double>;

enum Slot { kFrontLeft, kFrontRight, kCentre, kLow, kBackLeft, kBackRight, kSideLeft, kSideRight };
using Frame = std::array<float, 8>;
using Frames = std::vector<Frame>;
using Powers = std::array<double, 8>;

constexpr uint16_t kNoBalance = 1;
constexpr uint16_t kNeutralRear = 7 << 4;

// The words of a mode at the place of a rate in this list.
constexpr double kRates[] = {32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000};
constexpr int kUsualRate = 2;
constexpr uint16_t ModeWord(int mode, int rate = kUsualRate) {
    constexpr int kCodes[] = {2, 3, 7};
    return static_cast<uint16_t>(rate * 4096 + kCodes[mode] * 32 + 25);
}

// A stage of its own, its memory aligned for floats and no more.
class Stage {
  public:
    Stage(const Stage& other) : configuration(other.configuration), memory(other.memory) {
        configuration.state = memory.data() + 4;
    }
    explicit Stage(uint16_t modeWord, uint16_t flagsWord = kNoBalance | kNeutralRear) {
        configuration.modeWord = modeWord;
        configuration.flagsWord = flagsWord;
        configuration.state = memory.data() + 4;
    }

    bool Run(int32_t command, Frames& frames, std::size_t first, std::size_t count) {
        constexpr Slot kOrder[] = {kFrontLeft, kCentre, kFrontRight, kSideLeft,
                                   kSideRight, kLow,    kBackLeft,   kBackRight};
        for (std::size_t c = 0; c < 8; ++c)
            configuration.channels[c] = &frames[first][kOrder[c]];
        configuration.frames = static_cast<int16_t>(count);
        return RunMatrixDecoder(command, &configuration);
    }

    Frames Decode(const Pairs& pairs, std::size_t blockFrames = 480) {
        Frames frames(pairs.size(), Frame{9, 9, 9, 9, 9, 9, 9, 9});
        for (std::size_t i = 0; i < pairs.size(); ++i)
            frames[i][0] = pairs[i][0], frames[i][1] = pairs[i][1];
        for (std::size_t i = 0; i < frames.size(); i += blockFrames)
            EXPECT_TRUE(Run(kDecoderProcess, frames, i, std::min(blockFrames, frames.size() - i)));
        return frames;
    }

    MatrixDecoderConfiguration configuration;

  private:
    std::vector<std::byte> memory = std::vector<std::byte>(kMatrixDecoderMemory + 4);
};

// How a source stands in the pair.
struct Source {
    const char* name;
    Complex left, right;
    std::vector<Slot> classic, surround;  // where it belongs in mode 0 and in the others
};
constexpr double kHalf = 0.70710678118654752;
const Complex kTurn{0.0, 1.0};
const Source kLeft = {"left", 1.0, 0.0, {kFrontLeft}, {kFrontLeft}};
const Source kRight = {"right", 0.0, 1.0, {kFrontRight}, {kFrontRight}};
const Source kMiddle = {"centre", kHalf, kHalf, {kCentre}, {kCentre}};
const Source kRear = {"surround", kHalf, -kHalf, {kBackLeft, kBackRight}, {kBackLeft, kBackRight}};
const Source kTurnedRear = {"turned surround",
                            -kTurn* kHalf,
                            kTurn* kHalf,
                            {kBackLeft, kBackRight},
                            {kBackLeft, kBackRight}};
const Source kHalfLeft = {"half left",
                          std::cos(M_PI / 8),
                          std::sin(M_PI / 8),
                          {kFrontLeft, kCentre},
                          {kFrontLeft, kCentre}};
const Source kLeftSurround = {"left surround",
                              -kTurn * 0.8718,
                              kTurn * 0.4899,
                              {kFrontLeft, kBackLeft, kBackRight},
                              {kSideLeft, kBackLeft}};

void Add(Pairs& pairs, const Analytic& signal, Complex left, Complex right, std::size_t first = 0,
         std::size_t end = SIZE_MAX) {
    for (std::size_t i = first; i < std::min(end, pairs.size()); ++i) {
        const Complex value = signal[i % signal.size()];
        pairs[i][0] += static_cast<float>((left * value).real());
        pairs[i][1] += static_cast<float>((right * value).real());
    }
}

Pairs Encode(const Source& source, const Analytic& signal, std::size_t count) {
    Pairs pairs(count);
    Add(pairs, signal, source.left, source.right);
    return pairs;
}

Powers PowersOf(const Frames& frames, std::size_t first) {
    Powers powers{};
    for (std::size_t i = first; i < frames.size(); ++i) {
        for (std::size_t c = 0; c < 8; ++c)
            powers[c] += double{frames[i][c]} * frames[i][c];
    }
    for (double& power : powers)
        power /= static_cast<double>(frames.size() - first);
    return powers;
}

double Sum(const Powers& powers) {
    double sum = 0.0;
    for (const double power : powers)
        sum += power;
    return sum;
}

double PowerOf(const Pairs& pairs, std::size_t first) {
    double sum = 0.0;
    for (std::size_t i = first; i < pairs.size(); ++i)
        sum += double{pairs[i][0]} * pairs[i][0] + double{pairs[i][1]} * pairs[i][1];
    return sum / static_cast<double>(pairs.size() - first);
}

double Decibels(double power) {
    return 10.0 * std::log10(power);
}

// A single source comes out where it belongs and nowhere else, at its own power.
TEST(MatrixDecoderStage, PutsLoneSourcesInTheirPlaces) {
    for (const int rate : {0, 1, 2, 5, 7}) {
        const auto second = static_cast<std::size_t>(kRates[rate]);
        const Analytic noise = test::PinkNoise(kRates[rate], 1);
        for (const int mode : {0, 1, 2}) {
            for (const Source& source :
                 {kLeft, kRight, kMiddle, kRear, kTurnedRear, kHalfLeft, kLeftSurround}) {
                SCOPED_TRACE(testing::Message()
                             << source.name << " at " << kRates[rate] << " Hz, mode " << mode);
                const Pairs pairs = Encode(source, noise, 2 * second);
                Powers powers = PowersOf(Stage(ModeWord(mode, rate)).Decode(pairs), second);
                const double total = Sum(powers);
                if (mode > 0) {
                    EXPECT_NEAR(Decibels(total / PowerOf(pairs, second)), 0.0, 0.1);
                }
                for (const Slot slot : mode == 0 ? source.classic : source.surround) {
                    EXPECT_GT(powers[slot], total / 20.0);
                    powers[slot] = 0.0;
                }
                EXPECT_LT(Decibels((Sum(powers) + 1e-30) / total), -60.0);
            }
        }
    }
}

// Without a direction the passive matrix shows; the power of the pair is kept all the same, also
// under a source of equal power.
TEST(MatrixDecoderStage, KeepsThePowerOfAmbience) {
    constexpr std::size_t kSecond = 48000;
    const Analytic left = test::PinkNoise(48000, 2), right = test::PinkNoise(48000, 3);
    Pairs ambience(2 * kSecond);
    Add(ambience, left, 1.0, 0.0);
    Add(ambience, right, 0.0, 1.0);
    const double power = PowerOf(ambience, kSecond);
    const Powers powers = PowersOf(Stage(ModeWord(1)).Decode(ambience), kSecond);
    EXPECT_NEAR(Decibels(Sum(powers) / power), 0.0, 0.1);
    EXPECT_NEAR(Decibels(powers[kCentre] / power), -7.0, 1.0);
    for (const Slot slot : {kBackLeft, kBackRight, kSideLeft, kSideRight})
        EXPECT_NEAR(Decibels(powers[slot] / power), -11.5, 1.0);

    for (const Source& source : {kRear, kHalfLeft, kMiddle}) {
        Pairs pairs = ambience;
        const double gain = std::sqrt(2.0);
        Add(pairs, test::PinkNoise(48000, 4), gain * source.left, gain * source.right);
        for (const int mode : {1, 2}) {
            const double total = Sum(PowersOf(Stage(ModeWord(mode)).Decode(pairs), kSecond));
            EXPECT_NEAR(Decibels(total / PowerOf(pairs, kSecond)), 0.0, 0.1) << source.name;
        }
    }
}

// When a source jumps, its old place falls silent: by 20 dB within 4 ms that begin at the bar.
// Twelve jumps in different noise are averaged.
TEST(MatrixDecoderStage, FollowsJumps) {
    constexpr std::size_t kJump = 24000, kWindow = 192;
    const struct {
        const Source &from, &to;
        std::size_t mostMs;
    } kJumps[] = {
        {kLeft, kRight, 40}, {kMiddle, kRear, 60}, {kLeft, kMiddle, 100}, {kRear, kLeft, 120}};
    for (const auto& jump : kJumps) {
        const std::size_t first = kJump + jump.mostMs * 48;
        double old = 0.0, total = 0.0;
        for (uint32_t run = 0; run < 12; ++run) {
            const Analytic noise = test::PinkNoise(48000, 10 + run);
            Pairs pairs(first + kWindow);
            Add(pairs, noise, jump.from.left, jump.from.right, 0, kJump);
            Add(pairs, noise, jump.to.left, jump.to.right, kJump);
            const Powers powers = PowersOf(Stage(ModeWord(1)).Decode(pairs), first);
            total += Sum(powers);
            for (const Slot slot : jump.from.surround)
                old += powers[slot];
        }
        EXPECT_LT(Decibels(old / total), -20.0) << jump.from.name << " to " << jump.to.name;
    }
}

// A pure tone stays pure when it is steered, and as loud as it was wherever the bands meet.
TEST(MatrixDecoderStage, KeepsTonesPure) {
    constexpr std::size_t kSecond = 48000;
    const auto measure = [](const Source& source, Slot slot, std::size_t frequency) {
        Analytic tone(kSecond);
        for (std::size_t i = 0; i < kSecond; ++i)
            tone[i] = std::polar(
                0.5, 2.0 * M_PI * static_cast<double>(i * frequency % kSecond) / kSecond);
        const Frames frames = Stage(ModeWord(1)).Decode(Encode(source, tone, 3 * kSecond));
        Complex found = 0.0;
        double power = 0.0;
        for (std::size_t i = 0; i < kSecond; ++i) {
            const double sample = frames[2 * kSecond + i][slot];
            found += sample * std::conj(tone[i]);
            power += sample * sample;
        }
        const double ofTone = 2.0 * std::norm(found) / (0.25 * kSecond);
        return std::pair{ofTone / (0.125 * kSecond), std::fabs(power - ofTone) / power};
    };
    for (const Slot slot : {kFrontLeft, kCentre})
        EXPECT_LT(Decibels(measure(kHalfLeft, slot, 1000).second), -90.0);
    for (const std::size_t frequency : {100u, 300u, 450u, 700u, 1200u, 2000u, 3000u, 4000u, 8000u})
        EXPECT_NEAR(Decibels(measure(kMiddle, kCentre, frequency).first), 0.0, 0.02) << frequency;
}

// Surrounds that a film encoder has turned come out in phase with the front, on both sides, and a
// source that passes behind the right front keeps its polarity.
TEST(MatrixDecoderStage, KeepsPolarity) {
    const Analytic noise = test::PinkNoise(48000, 14);
    const auto decode = [&](Complex left, Complex right, Slot slot) {
        Pairs pairs(noise.size());
        Add(pairs, noise, left, right);
        std::vector<float> heard;
        for (const Frame& frame : Stage(ModeWord(1)).Decode(pairs))
            heard.push_back(frame[slot]);
        return heard;
    };
    const double past = 85.0 * M_PI / 180.0;
    const std::vector<float> front = decode(kHalf, kHalf, kCentre),
                             right = decode(0.0, 1.0, kFrontRight);
    const std::pair<std::vector<float>, const std::vector<float>&> kPairs[] = {
        {decode(-kTurn * 0.8718, kTurn * 0.4899, kSideLeft), front},
        {decode(-kTurn * 0.4899, kTurn * 0.8718, kSideRight), front},
        {decode(-std::cos(past), std::sin(past), kFrontRight), right}};
    for (const auto& [heard, expected] : kPairs) {
        double a = 0.0, b = 0.0, both = 0.0;
        for (std::size_t i = 24000; i < heard.size(); ++i) {
            a += double{heard[i]} * heard[i];
            b += double{expected[i]} * expected[i];
            both += double{heard[i]} * expected[i];
        }
        EXPECT_GT(both / std::sqrt(a * b), 0.98);
    }
}

// Half way between front and side, on either hand: both alike in level, and not alike in phase.
TEST(MatrixDecoderStage, JoinsFrontAndSide) {
    constexpr std::size_t kSecond = 48000;
    const double half = -17.5 / 2.0 * M_PI / 180.0;
    const struct {
        double left, right;
        Slot front, side;
    } kHands[] = {{std::cos(half), std::sin(half), kFrontLeft, kSideLeft},
                  {std::sin(half), std::cos(half), kFrontRight, kSideRight}};
    for (const auto& hand : kHands) {
        Pairs pairs(2 * kSecond);
        Add(pairs, test::PinkNoise(48000, 5), hand.left, hand.right);
        const Frames frames = Stage(ModeWord(1)).Decode(pairs);
        double front = 0.0, side = 0.0, both = 0.0;
        for (std::size_t i = kSecond; i < frames.size(); ++i) {
            const double f = frames[i][hand.front], s = frames[i][hand.side];
            front += f * f, side += s * s, both += f * s;
        }
        EXPECT_NEAR(Decibels(front / side), 0.0, 0.5);
        EXPECT_LT(std::fabs(both) / std::sqrt(front * side), 0.3);
    }
}

// Shares of the total power in mode 2, of a source or (null) of a pair without one.
Powers Shares(int options, const Source* source) {
    constexpr std::size_t kSecond = 48000;
    Pairs pairs(2 * kSecond);
    Add(pairs, test::PinkNoise(48000, 6), source ? source->left : 1.0,
        source ? source->right : 0.0);
    if (!source) Add(pairs, test::PinkNoise(48000, 7), 0.0, 1.0);
    Stage stage(ModeWord(2), static_cast<uint16_t>(kNoBalance | options));
    Powers powers = PowersOf(stage.Decode(pairs), kSecond);
    const double total = Sum(powers);
    for (double& power : powers)
        power /= total;
    return powers;
}

TEST(MatrixDecoderStage, OptionsReshapeTheField) {
    double last = 1.0;
    for (const int spread : {0, 1, 2, 3, 4, 5, 6, 7}) {
        const double centre = Shares(spread << 8 | kNeutralRear, &kMiddle)[kCentre];
        EXPECT_LE(centre, last) << spread;
        last = centre * 0.98;
    }
    EXPECT_LT(last, 1e-10);
    constexpr int kWraps = 8, kBackOnly = 2;
    EXPECT_NEAR(Decibels(Shares(kWraps | kNeutralRear, &kLeft)[kSideLeft]), -6.3, 0.5);
    EXPECT_NEAR(Decibels(Shares(kBackOnly | kNeutralRear, &kLeftSurround)[kBackLeft]), 0.0, 0.01);
    const struct {
        int value;
        double rearDb;
    } kRearShares[] = {{0, -15.5}, {7, -6.4}, {15, -3.6}};
    for (const auto& row : kRearShares) {
        const Powers shares = Shares(row.value << 4, nullptr);
        const double rear =
            shares[kBackLeft] + shares[kBackRight] + shares[kSideLeft] + shares[kSideRight];
        EXPECT_NEAR(Decibels(rear), row.rearDb, 0.5) << row.value;
    }
}

Analytic Sine(double frequency) {
    Analytic sine(48000);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = std::polar(0.5, 2.0 * M_PI * frequency * static_cast<double>(i) / 48000.0);
    return sine;
}

TEST(MatrixDecoderStage, EndsTheOneRearSignalAtSevenKilohertz) {
    const auto rearDb = [](int mode, double frequency) {
        const Pairs pairs = Encode(kRear, Sine(frequency), 48000);
        const Powers powers = PowersOf(Stage(ModeWord(mode)).Decode(pairs), 24000);
        return Decibels((powers[kBackLeft] + powers[kBackRight]) / PowerOf(pairs, 24000));
    };
    EXPECT_NEAR(rearDb(0, 1000.0), 0.0, 0.5);
    EXPECT_NEAR(rearDb(0, 7000.0), -3.0, 1.0);
    EXPECT_LT(rearDb(0, 14000.0), -9.0);
    EXPECT_NEAR(rearDb(1, 14000.0), 0.0, 0.5);
}

// Brisk: a source in ambience that moves a little is out of its old place sooner.
TEST(MatrixDecoderStage, FollowsSmallMovesFasterWhenBrisk) {
    constexpr std::size_t kMove = 48000, kEnd = kMove + 4800;
    const auto lag = [](uint16_t flags) {
        const Analytic noise = test::PinkNoise(48000, 17);
        Pairs pairs(kEnd), there(kEnd);
        for (Pairs* sound : {&pairs, &there}) {
            Add(*sound, test::PinkNoise(48000, 18), 0.6, 0.0);
            Add(*sound, test::PinkNoise(48000, 19), 0.0, 0.6);
        }
        Add(pairs, noise, kHalf, kHalf, 0, kMove);
        Add(pairs, noise, std::cos(M_PI / 5), std::sin(M_PI / 5), kMove);
        Add(there, noise, std::cos(M_PI / 5), std::sin(M_PI / 5));
        const auto word = static_cast<uint16_t>(kNoBalance | kNeutralRear | flags);
        const Frames moved = Stage(ModeWord(1), word).Decode(pairs);
        const Frames settled = Stage(ModeWord(1), word).Decode(there);
        double error = 0.0;
        for (std::size_t i = kMove; i < kEnd; ++i)
            for (std::size_t c = 0; c < 8; ++c)
                error += std::pow(double{moved[i][c]} - double{settled[i][c]}, 2.0);
        return error;
    };
    EXPECT_LT(lag(0x1000), 0.85 * lag(0));
}

// A drifted centre is found and evened out; a source that was panned is left where it is.
TEST(MatrixDecoderStage, BalancesADriftedCentre) {
    constexpr std::size_t kSecond = 48000;
    const auto leak = [](double leftDb, uint16_t flags) {
        Pairs pairs(8 * kSecond);
        Add(pairs, test::PinkNoise(48000, 8), std::pow(10.0, leftDb / 20.0) * kHalf, kHalf);
        const Powers powers = PowersOf(Stage(ModeWord(1), flags).Decode(pairs), 7 * kSecond);
        return Decibels(1.0 - powers[kCentre] / Sum(powers));
    };
    EXPECT_LT(leak(2.0, 0), -25.0);
    EXPECT_GT(leak(2.0, kNoBalance), -15.0);
    EXPECT_NEAR(leak(-5.0, 0), leak(-5.0, kNoBalance), 0.1);
}

// Ambience keeps its level in the rear under a centre that comes and goes.
TEST(MatrixDecoderStage, DoesNotPump) {
    constexpr std::size_t kGate = 24000, kGates = 8;
    Pairs pairs(kGates * kGate);
    Add(pairs, test::PinkNoise(48000, 20), 1.0, 0.0);
    Add(pairs, test::PinkNoise(48000, 21), 0.0, 1.0);
    const Frames without = Stage(ModeWord(1)).Decode(pairs);
    for (std::size_t gate = 1; gate < kGates; gate += 2)
        Add(pairs, test::PinkNoise(48000, 22), 4.0, 4.0, gate * kGate, (gate + 1) * kGate);
    const Frames with = Stage(ModeWord(1)).Decode(pairs);
    // Half a gate after each change.
    const auto rear = [](const Frames& frames, std::size_t odd) {
        double power = 0.0;
        for (std::size_t i = kGate / 2; i < frames.size(); ++i) {
            if (i / kGate % 2 != odd || i % kGate < kGate / 2) continue;
            for (const Slot slot : {kBackLeft, kBackRight, kSideLeft, kSideRight})
                power += double{frames[i][slot]} * frames[i][slot];
        }
        return power;
    };
    EXPECT_NEAR(Decibels(rear(with, 1) / rear(without, 1)), 0.0, 1.0);
    EXPECT_NEAR(Decibels(rear(with, 0) / rear(without, 0)), 0.0, 0.1);
}

TEST(MatrixDecoderStage, RecoversFromWhatIsNoAudio) {
    constexpr std::size_t kBad = 12000, kRecovered = kBad + 14400;
    const Pairs clean = Encode(kMiddle, test::PinkNoise(48000, 9), 48000);
    const Frames expected = Stage(ModeWord(1)).Decode(clean);
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float bad : {NAN, kInfinity, -kInfinity, 1e35f}) {
        Pairs pairs = clean;
        for (std::size_t i = kBad; i < kBad + 10; ++i)
            pairs[i][i % 2] = bad;
        const Frames frames = Stage(ModeWord(1)).Decode(pairs);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const float tolerance = i < kBad || i >= kRecovered ? 1e-4f : 2.0f;
            for (std::size_t c = 0; c < 8; ++c)
                ASSERT_NEAR(frames[i][c], expected[i][c], tolerance) << i;
        }
    }
}

// How the frames are divided changes nothing, and silence stays and becomes silence.
TEST(MatrixDecoderStage, DependsOnTheFramesAlone) {
    Pairs pairs = Encode(kLeftSurround, test::PinkNoise(48000, 11), 24000);
    Add(pairs, test::PinkNoise(48000, 12), 1.0, -0.3);
    for (const int mode : {0, 1, 2}) {
        const uint16_t word = ModeWord(mode);
        EXPECT_EQ(Stage(word).Decode(pairs, 480), Stage(word).Decode(pairs, 7));
        EXPECT_EQ(Stage(word).Decode(Pairs(1000)), Frames(1000));
        Pairs burst = pairs;
        burst.resize(48000);
        EXPECT_EQ(Stage(word).Decode(burst).back(), Frame{});
    }
}

// A new mode and new flags are taken up as sound goes on: the matrices glide for 40 ms.
TEST(MatrixDecoderStage, GlidesToOtherWords) {
    const Pairs pairs = Encode(kMiddle, Sine(1000.0), 24000);
    const auto wordsOf = [](int mode, int spread) {
        return std::pair(ModeWord(mode),
                         static_cast<uint16_t>(kNoBalance | kNeutralRear | spread << 8));
    };
    Stage settled(ModeWord(2));
    settled.Decode(pairs);
    for (const auto& [modeWord, flagsWord] : {wordsOf(2, 7), wordsOf(2, 3), wordsOf(0, 0)}) {
        Stage before = settled, after = settled;
        after.configuration.modeWord = modeWord;
        after.configuration.flagsWord = flagsWord;
        const Frames old = before.Decode(pairs), glide = after.Decode(pairs);
        const double goal = glide.back()[kCentre] / old.back()[kCentre];
        for (const int ms : {2, 10, 20, 30, 42, 60}) {
            double products = 0.0, squares = 0.0;  // over two periods
            for (std::size_t i = 48u * static_cast<std::size_t>(ms) - 48;
                 i < 48u * static_cast<std::size_t>(ms) + 48; ++i) {
                products += double{glide[i][kCentre]} * old[i][kCentre];
                squares += double{old[i][kCentre]} * old[i][kCentre];
            }
            const double way = std::min(ms / 40.0, 1.0), done = way * way * (3.0 - 2.0 * way);
            EXPECT_NEAR(products / squares, 1.0 + done * (goal - 1.0), 0.02) << ms << " ms";
        }
    }
}

// Another mode keeps the filters' past, also where the one rear signal begins or ends; another rate
// and other outputs start from silence.
TEST(MatrixDecoderStage, StartsAnewForOtherRatesAndOutputs) {
    const Pairs pairs = Encode(kRear, test::PinkNoise(48000, 13), 24000);
    Stage stage(ModeWord(0));
    for (const int mode : {2, 0}) {
        stage.configuration.modeWord = ModeWord(mode);
        stage.Decode(pairs);
        const Frames there = stage.Decode(pairs), straight = Stage(ModeWord(mode)).Decode(pairs);
        for (std::size_t c = 0; c < 8; ++c)
            EXPECT_NEAR(there.back()[c], straight.back()[c], 1e-3f) << c;
    }
    stage.configuration.modeWord = ModeWord(1, 1);
    EXPECT_EQ(stage.Decode(pairs), Stage(ModeWord(1, 1)).Decode(pairs));
    for (const auto outputs : {DecoderOutputs::FrontAndSides, DecoderOutputs::FrontAndBacks}) {
        Stage fresh(ModeWord(1, 1));
        fresh.configuration.outputs = stage.configuration.outputs = outputs;
        EXPECT_EQ(stage.Decode(pairs), fresh.Decode(pairs));
    }
}

// Nothing is sent to outputs that are not played. The sides stand in for the backs.
TEST(MatrixDecoderStage, SendsToPlayedOutputsOnly) {
    Pairs pairs = Encode(kLeftSurround, test::PinkNoise(48000, 23), 24000);
    Add(pairs, test::PinkNoise(48000, 24), 0.3, 0.8);
    for (const int mode : {0, 1, 2}) {
        Stage sides(ModeWord(mode), 0xFF8), backs(ModeWord(mode), 0xFF8);
        sides.configuration.outputs = DecoderOutputs::FrontAndSides;
        backs.configuration.outputs = DecoderOutputs::FrontAndBacks;
        const Frames toSides = sides.Decode(pairs), toBacks = backs.Decode(pairs);
        const Powers powers = PowersOf(toBacks, 12000);
        EXPECT_NEAR(Decibels(Sum(powers) / PowerOf(pairs, 12000)), 0.0, 0.1);
        EXPECT_GT(powers[kBackLeft], 0.0);
        for (std::size_t i = 0; i < toSides.size(); ++i) {
            Frame moved = toBacks[i];
            for (const Slot slot : {kCentre, kLow, kSideLeft, kSideRight})
                ASSERT_EQ(moved[slot], 0.0f);
            std::swap(moved[kSideLeft], moved[kBackLeft]);
            std::swap(moved[kSideRight], moved[kBackRight]);
            ASSERT_EQ(moved, toSides[i]);
        }
    }
}

TEST(MatrixDecoderStage, RefusesWhatItCannotCarryOut) {
    Stage stage(ModeWord(1));
    Frames frames(4, Frame{1, 2, 3, 4, 5, 6, 7, 8});
    const Frames same = frames;
    for (const int32_t command : {7, -1, 1, 11})
        EXPECT_FALSE(stage.Run(command, frames, 0, 4));
    EXPECT_TRUE(stage.Run(kDecoderProcess, frames, 0, 0));
    EXPECT_TRUE(stage.Run(kDecoderProcess, frames, 0, 40000));  // negative in 16 bits
    EXPECT_TRUE(stage.Run(kDecoderInitialise, frames, 0, 4));
    EXPECT_FALSE(RunMatrixDecoder(kDecoderProcess, nullptr));
    stage.configuration.channels[3] = nullptr;
    EXPECT_FALSE(RunMatrixDecoder(kDecoderProcess, &stage.configuration));
    stage.configuration.state = nullptr;
    EXPECT_FALSE(stage.Run(kDecoderInitialise, frames, 0, 4));
    EXPECT_EQ(frames, same);
}

}  // namespace
}  // namespace quorvel
