// The decoder's bars where the listener is: at the ears, behind the block, in every layout, and
// while somebody edits.
#include <array>
#include <functional>

#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "tests/support/ear_measures.h"
#include "tests/support/pink_noise.h"
#include "tests/surround/heard.h"

namespace quorvel {
namespace {

using test::Analytic;
using test::Decibels;
using test::Hear;
using test::MakeBlock;
using Samples = std::vector<float>;

constexpr std::size_t kSecond = 48000;

struct Layout {
    std::size_t channels;
    uint32_t mask;
    std::size_t pair;  // that is decoded
};
constexpr Layout kStereo = {2, 0x3, 0};
constexpr Layout kSurrounds[] = {{6, 0x3F, 4}, {6, 0x60F, 4}, {4, 0x33, 2}};

// Two signals in the decoded pair of a layout, all other channels silent.
Samples InPair(const Layout& layout, const std::function<std::array<double, 2>(std::size_t)>& pair,
               std::size_t frames) {
    Samples in(layout.channels * frames);
    for (std::size_t f = 0; f < frames; ++f) {
        const auto [left, right] = pair(f);
        in[f * layout.channels + layout.pair] = static_cast<float>(left);
        in[f * layout.channels + layout.pair + 1] = static_cast<float>(right);
    }
    return in;
}

// Of the second half, both ears together.
double PowerDb(const Samples& ears) {
    double power = 0.0;
    for (std::size_t i = ears.size() / 2; i < ears.size(); ++i)
        power += double{ears[i]} * ears[i];
    return Decibels(power + 1e-30);
}

// How a sound stands in a surround pair: gains of one noise, and of another one in the right.
struct Surround {
    const char* name;
    double left, right, other;
};
constexpr Surround kSounds[] = {{"left alone", 1, 0, 0},
                                {"alike", 1, 1, 0},
                                {"3 dB to the left", 1, 0.708, 0},
                                {"anti-phase", 1, -1, 0},
                                {"uncorrelated", 1, 0, 1}};

Samples Noise(const Layout& layout, const Surround& sound) {
    static const Analytic noise = test::PinkNoise(48000, 1), other = test::PinkNoise(48000, 2);
    return InPair(
        layout,
        [&](std::size_t f) -> std::array<double, 2> {
            const double x = noise[f].real();
            return {sound.left * x, sound.right * x + sound.other * other[f].real()};
        },
        kSecond / 2);
}

// The block has no place for a centre or a second rear pair of the surrounds: what is sent there is
// lost. So nothing may be sent there, in whatever way decoding has begun.
TEST(DecodedSound, SurroundsAreAsLoudAsUndecoded) {
    for (const Layout& layout : kSurrounds) {
        const auto width = static_cast<int32_t>(layout.channels);
        for (const Surround& sound : kSounds) {
            const Samples in = Noise(layout, sound);
            const double plain =
                PowerDb(Hear(*MakeBlock({.decodeEnabled = 0}, width, layout.mask), in));
            for (const uint32_t mode : {0u, 1u, 2u}) {
                for (const uint32_t spread : {0u, 7u}) {
                    SCOPED_TRACE(testing::Message() << sound.name << ", mask " << layout.mask
                                                    << ", mode " << mode << ", " << spread);
                    MatrixDecoderParameters parameters{.decodeMode = mode, .option3 = spread};
                    const auto block = MakeBlock(parameters, width, layout.mask);
                    EXPECT_NEAR(PowerDb(Hear(*block, in)), plain, 1.5);
                    parameters.option3 ^= 7;
                    parameters.option6 = 1;
                    EXPECT_TRUE(block->SetParameters(&parameters));
                    EXPECT_NEAR(PowerDb(Hear(*block, in)), plain, 1.5);
                    block->SetFormat(2, 0x3, 48000);
                    Hear(*block, Noise(kStereo, sound));
                    block->SetFormat(width, layout.mask, 48000);
                    EXPECT_NEAR(PowerDb(Hear(*block, in)), plain, 1.5);
                }
            }
        }
    }
}

// A game in 7.1 whose side channels fall silent: the graph narrows to 5.1 after the hold, and the
// sound behind goes on.
TEST(DecodedSound, ASoundBehindOutlivesTheSides) {
    AudioGraph graph;
    const MatrixDecoderParameters parameters{.decodeMode = 1};
    ASSERT_TRUE(graph.AddNewBlock(kMatrixDecoderBlockTypeId, &parameters, sizeof(parameters), {}));
    graph.SetNoiseEnabled(false);
    graph.SetInputFormat(8, 0x63F, 48000);
    graph.SetOutputFormat(2, 0x3, 48000);
    graph.SetChannelDetectionHold(500);
    const Analytic noise = test::PinkNoise(48000, 3);
    double before = 0.0, after = 0.0;
    for (std::size_t start = 0; start < 2 * kSecond; start += 480) {
        Samples in(8 * 480), out(2 * 480);
        for (std::size_t f = 0; f < 480; ++f) {
            const auto x = static_cast<float>(noise[start + f].real());
            in[8 * f + 4] = in[8 * f + 5] = x;
            if (start < kSecond / 4) in[8 * f + 6] = x;
        }
        graph.Process(in.data(), out.data(), 480);
        const bool isBefore = start >= kSecond / 3 && start < 2 * kSecond / 3;
        double& power = isBefore ? before : after;
        if (isBefore || start >= 5 * kSecond / 3)
            for (const float sample : out)
                power += double{sample} * sample;
    }
    EXPECT_EQ(graph.ProcessingFormat().Format.nChannels, 6);
    EXPECT_GT(Decibels(after / before), -3.0);
}

// An edit of a running block.
struct Edit {
    const char* name;
    std::function<void(MatrixDecoderParameters&)> change;
    std::string modesThatIgnoreIt = "";
    bool surroundsIgnoreIt = false;  // in every mode
};
const Edit kEdits[] = {
    {"mode", [](auto& p) { p.decodeMode = p.decodeMode == 2 ? 0 : 2; }},
    {"rear share", [](auto& p) { p.option2 = 15; }, "01"},
    {"spread", [](auto& p) { p.option3 = 0; }, "01", true},
    {"wraps", [](auto& p) { p.option4 = 1; }, "01", true},
    {"balances", [](auto& p) { p.option5 = 0; }},
    {"brisk", [](auto& p) { p.option6 = 1; }},
    {"back pair only", [](auto& p) { p.option7 = 1; }, "0", true},
    {"delays of another mode", [](auto& p) { p.outputDelaysMs[(p.decodeMode + 1) % 3][4] = 3; },
     "012", true},
    {"other words for on", [](auto& p) { p.decodeEnabled = p.delaysEnabled = 7; }, "012", true},
};

// Two low tones in all channels, in the decoded pair so that its rear is busy.
Samples Tones(const Layout& layout, double right, std::size_t frames) {
    Samples in(layout.channels * frames);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const double t = static_cast<double>(i / layout.channels) / 48000.0;
        const double x = std::sin(2.0 * M_PI * 110.0 * t) + std::sin(2.0 * M_PI * 220.0 * t);
        const bool isRight = i % layout.channels == layout.pair + 1;
        in[i] = static_cast<float>(0.2 * (isRight ? right : 1.0) * x);
    }
    return in;
}

// Peak of what a Butterworth filter of the fourth order leaves above 2 kHz of both ears.
float PeakOfTreble(const Samples& ears, std::size_t firstFrame) {
    float peak = 0.0f;
    for (std::size_t ear = 0; ear < 2; ++ear) {
        Samples signal;
        for (std::size_t i = ear; i < ears.size(); i += 2)
            signal.push_back(ears[i]);
        for (const double q : {0.5412, 1.3066}) {
            const double w = 2.0 * M_PI * 2000.0 / 48000.0, alpha = std::sin(w) / (2.0 * q);
            const double c = std::cos(w), b = (1.0 + c) / 2.0 / (1.0 + alpha);
            double s1 = 0.0, s2 = 0.0;
            for (float& x : signal) {
                const double y = b * x + s1;
                s1 = -2.0 * b * x + 2.0 * c / (1.0 + alpha) * y + s2;
                s2 = b * x - (1.0 - alpha) / (1.0 + alpha) * y;
                x = static_cast<float>(y);
            }
        }
        for (std::size_t f = firstFrame; f < signal.size(); ++f)
            peak = std::max(peak, std::fabs(signal[f]));
    }
    return peak;
}

// What an edit adds lies 60 dB below the signal. Nothing is added, not a bit, where the mode has no
// use for what was edited.
TEST(DecodedSound, EditsDoNotClick) {
    constexpr std::size_t kBefore = kSecond / 2, kFrames = kBefore + kSecond / 10;
    for (const Layout& layout : {kStereo, kSurrounds[0], kSurrounds[2]}) {
        const auto width = static_cast<int32_t>(layout.channels);
        for (const double right : {1.0, -0.6}) {
            const Samples in = Tones(layout, right, kFrames);
            const auto edited = static_cast<std::ptrdiff_t>(layout.channels * kBefore);
            const Samples first(in.begin(), in.begin() + edited),
                rest(in.begin() + edited, in.end());
            for (const uint32_t mode : {0u, 1u, 2u}) {
                const MatrixDecoderParameters parameters{.decodeMode = mode, .outputDelaysMs = {}};
                const Samples unedited = Hear(*MakeBlock(parameters, width, layout.mask), in);
                const float peak = *std::ranges::max_element(unedited);
                for (const Edit& edit : kEdits) {
                    SCOPED_TRACE(testing::Message() << edit.name << ", mask " << layout.mask
                                                    << ", mode " << mode << ", " << right);
                    const auto block = MakeBlock(parameters, width, layout.mask);
                    Samples ears = Hear(*block, first);
                    MatrixDecoderParameters changed = parameters;
                    edit.change(changed);
                    EXPECT_TRUE(block->SetParameters(&changed));
                    const Samples after = Hear(*block, rest);
                    ears.insert(ears.end(), after.begin(), after.end());
                    EXPECT_LT(PeakOfTreble(ears, kBefore), 1e-3f * peak);
                    const bool isIgnored =
                        edit.modesThatIgnoreIt.find(static_cast<char>('0' + mode)) <
                            edit.modesThatIgnoreIt.size() ||
                        (edit.surroundsIgnoreIt && layout.channels > 2);
                    if (isIgnored) test::ExpectSameBits(ears, unedited);
                }
            }
        }
    }
}

// A shot out of silence, to the left: from 1 ms on the left ear hears it by 9 dB louder.
TEST(DecodedSound, AShotBeginsInItsPlace) {
    constexpr std::size_t kOnset = kSecond / 10, kMs = kSecond / 1000;
    const Samples noise = test::Noise(8 * kMs, 4);
    const Samples in = InPair(
        kStereo,
        [&](std::size_t f) -> std::array<double, 2> {
            return {f < kOnset ? 0.0 : 0.5 * double{noise[f - kOnset]}, 0.0};
        },
        kOnset + noise.size());
    for (const uint32_t mode : {0u, 1u}) {
        const Samples ears = Hear(*MakeBlock({.decodeMode = mode}, 2, 0x3), in);
        for (const std::size_t ms : {1u, 2u, 4u}) {
            Samples sides[2];
            for (std::size_t i = 2 * (kOnset + ms * kMs); i < 2 * (kOnset + (ms + 1) * kMs); ++i)
                sides[i % 2].push_back(ears[i]);
            double powers[2] = {};
            for (const std::size_t side : {0u, 1u})
                for (double f = 1000.0; f <= 8000.0; f += 100.0)
                    powers[side] += std::norm(test::At(sides[side], f, 48000.0));
            EXPECT_GT(Decibels(powers[0] / powers[1]), 9.0) << ms << " ms, mode " << mode;
        }
    }
}

}  // namespace
}  // namespace quorvel
