// A matrix decoder stage of a test's own, sounds encoded into a pair, and the powers that come out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <vector>

#include "dsp/surround/matrix_decoder_stage.h"
#include "tests/support/pink_noise.h"

namespace quorvel::test {

using Pairs = std::vector<std::array<float, 2>>;
using Complex = std::complex<double>;

enum Slot { kFrontLeft, kFrontRight, kCentre, kLow, kBackLeft, kBackRight, kSideLeft, kSideRight };
using Frame = std::array<float, 8>;
using Frames = std::vector<Frame>;
using Powers = std::array<double, 8>;

inline constexpr uint16_t kNoBalance = 1;
inline constexpr uint16_t kNeutralRear = 7 << 4;

// The words of a mode at the place of a rate in this list.
inline constexpr double kRates[] = {32000, 44100, 48000, 64000, 88200, 96000, 176400, 192000};
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
inline constexpr double kHalf = 0.70710678118654752;
inline const Complex kTurn{0.0, 1.0};
inline const Source kLeft = {"left", 1.0, 0.0, {kFrontLeft}, {kFrontLeft}};
inline const Source kRight = {"right", 0.0, 1.0, {kFrontRight}, {kFrontRight}};
inline const Source kMiddle = {"centre", kHalf, kHalf, {kCentre}, {kCentre}};
inline const Source kRear = {
    "surround", kHalf, -kHalf, {kBackLeft, kBackRight}, {kBackLeft, kBackRight}};
inline const Source kTurnedRear = {"turned surround",
                                   -kTurn* kHalf,
                                   kTurn* kHalf,
                                   {kBackLeft, kBackRight},
                                   {kBackLeft, kBackRight}};
inline const Source kHalfLeft = {"half left",
                                 std::cos(M_PI / 8),
                                 std::sin(M_PI / 8),
                                 {kFrontLeft, kCentre},
                                 {kFrontLeft, kCentre}};
inline const Source kLeftSurround = {"left surround",
                                     -kTurn * 0.8718,
                                     kTurn * 0.4899,
                                     {kFrontLeft, kBackLeft, kBackRight},
                                     {kSideLeft, kBackLeft}};

inline void Add(Pairs& pairs, const Analytic& signal, Complex left, Complex right,
                std::size_t first = 0, std::size_t end = SIZE_MAX) {
    for (std::size_t i = first; i < std::min(end, pairs.size()); ++i) {
        const Complex value = signal[i % signal.size()];
        pairs[i][0] += static_cast<float>((left * value).real());
        pairs[i][1] += static_cast<float>((right * value).real());
    }
}

inline Pairs Encode(const Source& source, const Analytic& signal, std::size_t count) {
    Pairs pairs(count);
    Add(pairs, signal, source.left, source.right);
    return pairs;
}

inline Powers PowersOf(const Frames& frames, std::size_t first) {
    Powers powers{};
    for (std::size_t i = first; i < frames.size(); ++i) {
        for (std::size_t c = 0; c < 8; ++c)
            powers[c] += double{frames[i][c]} * frames[i][c];
    }
    for (double& power : powers)
        power /= static_cast<double>(frames.size() - first);
    return powers;
}

inline double Sum(const Powers& powers) {
    double sum = 0.0;
    for (const double power : powers)
        sum += power;
    return sum;
}

inline double PowerOf(const Pairs& pairs, std::size_t first) {
    double sum = 0.0;
    for (std::size_t i = first; i < pairs.size(); ++i)
        sum += double{pairs[i][0]} * pairs[i][0] + double{pairs[i][1]} * pairs[i][1];
    return sum / static_cast<double>(pairs.size() - first);
}

inline double Decibels(double power) {
    return 10.0 * std::log10(power);
}

inline Analytic Sine(double frequency) {
    Analytic sine(48000);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = std::polar(0.5, 2.0 * M_PI * frequency * static_cast<double>(i) / 48000.0);
    return sine;
}

}  // namespace quorvel::test
