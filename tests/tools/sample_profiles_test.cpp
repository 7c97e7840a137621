// The sample profiles as they sound: no peak above full scale.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <numbers>

#include "authoring/document/profile_file.h"
#include "authoring/render/chain_graph.h"
#include "engine/sample_guard.h"
#include "platform/random.h"
#include "tests/support/samples.h"

namespace quorvel::tool {
namespace {

constexpr double kRate = 48000.0;
constexpr std::size_t kFrames = 48000;
constexpr std::size_t kBuffer = 480;
constexpr double kTwoPi = 2.0 * std::numbers::pi;

using Samples = std::vector<float>;

// A sound at `seconds`, `noise` in between ±1.
using Sound = double (*)(double seconds, double noise);

// Syllables of a voice of 140 Hz with two formants.
double Speech(double t, double) {
    double voice = 0.0;
    for (int h = 1; h < 30; ++h) {
        const double first = (140.0 * h - 700.0) / 300.0, second = (140.0 * h - 2600.0) / 500.0;
        const double formants = 1.0 + 3.0 * std::exp(-first * first) + std::exp(-second * second);
        voice += std::sin(kTwoPi * 140.0 * h * t) * formants / h;
    }
    return voice * std::pow(std::max(0.0, std::sin(kTwoPi * 3.1 * t)), 2.0);
}

// A chord, a drum and a hat.
double Music(double t, double noise) {
    double sum = 0.0;
    for (const double f : {55.0, 110.0, 277.2, 329.6, 440.0, 880.0, 1760.0, 3520.0, 7040.0})
        sum += std::sin(kTwoPi * f * t) / std::sqrt(f);
    const double beat = std::fmod(t, 0.5);
    sum += 0.5 * std::exp(-20.0 * beat) * std::sin(kTwoPi * 60.0 * beat);
    return sum + 0.2 * std::exp(-60.0 * std::fmod(t, 0.25)) * noise;
}

// Full scale of random sign, which finds out the worst that filters can add up.
double HardNoise(double, double noise) {
    return noise < 0.0 ? -1.0 : 1.0;
}

// Clicks, decaying bursts and tone pips out of silence.
double Transients(double t, double noise) {
    const double place = std::fmod(t, 0.2);
    if (place < 0.0001) return 1.0;
    if (place < 0.005) return noise * std::exp(-place * 1000.0);
    return place > 0.15 && place < 0.152 ? (std::sin(kTwoPi * 3000.0 * t) < 0.0 ? -1.0 : 1.0) : 0.0;
}

// All channels alike, which is what adds up in a fold-down; its peak is full scale.
Samples Render(Sound sound, std::size_t channels) {
    const Samples noise = test::Noise(kFrames, 1);
    std::vector<double> mono(kFrames);
    double peak = 0.0;
    for (std::size_t f = 0; f < kFrames; ++f) {
        mono[f] = sound(static_cast<double>(f) / kRate, noise[f]);
        peak = std::max(peak, std::fabs(mono[f]));
    }
    Samples samples;
    for (const double sample : mono)
        samples.insert(samples.end(), channels, static_cast<float>(sample / peak));
    return samples;
}

Samples Play(const QuorvelAudioBlocksChain& chain, Samples in, std::size_t channels,
             std::size_t outChannels, std::uint32_t rate = 48000) {
    AudioGraph graph;
    platform::SeedRand(1);
    SetUpChainGraph(graph, chain,
                    {.channels = static_cast<std::uint32_t>(channels),
                     .outChannels = static_cast<std::uint32_t>(outChannels),
                     .sampleRate = rate});
    SampleGuard guard;
    Samples out(in.size() / channels * outChannels);
    for (std::size_t f = 0; f < in.size() / channels; f += kBuffer)
        guard.Process(graph, &in[f * channels], &out[f * outChannels], kBuffer);
    EXPECT_EQ(guard.Caught().notFinite, 0u);
    return out;
}

float Peak(const Samples& samples) {
    float peak = 0.0f;
    for (const float sample : samples)
        peak = std::max(peak, std::fabs(sample));
    return peak;
}

// Calls `check` with every chain of every sample profile and the widths that it is made for.
void ForEachChain(const std::function<void(const QuorvelAudioBlocksChain&, std::size_t in,
                                           std::size_t out)>& check) {
    int profiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QUORVEL_PROFILES)) {
        const std::string name = entry.path().filename();
        if (name.find(".schema.") != std::string::npos) continue;
        ++profiles;
        SCOPED_TRACE(name);
        NamedProfile named;
        LoadProfile(entry.path(), named);
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(0);
        const bool isMicrophone = chain.id == 2;
        const bool isStereo = isMicrophone || name == "games_equaliser.json";
        for (const std::size_t in : {1u, 2u, 6u, 8u}) {
            if (in <= 2 || !isStereo) check(chain, in, 2);
            if (in <= 2 && isMicrophone) check(chain, in, 1);
        }
    }
    EXPECT_EQ(profiles, 9);
}

TEST(SampleProfiles, KeepFullScaleSoundWithinFullScale) {
    for (const Sound sound : {Speech, Music, HardNoise, Transients}) {
        std::array<Samples, 9> inputs;
        for (const std::size_t channels : {1u, 2u, 6u, 8u})
            inputs[channels] = Render(sound, channels);
        ForEachChain([&](const auto& chain, std::size_t in, std::size_t out) {
            const float peak = Peak(Play(chain, inputs[in], in, out));
            EXPECT_LE(peak, 1.0f) << in << " to " << out << " channels";
            EXPECT_GT(peak, 0.1f);
        });
    }
}

// A filter whose frequency is half the sample rate never comes to rest. The noise that the widener
// makes is all that may be left.
TEST(SampleProfiles, FallSilentBehindASoundAtEveryUsualRate) {
    for (const std::uint32_t rate : {32000u, 44100u, 48000u, 96000u, 192000u}) {
        ForEachChain([rate](const auto& chain, std::size_t in, std::size_t out) {
            Samples sound = test::Noise(rate / 2 * in, 3);
            sound.resize(rate / kBuffer * 2 * kBuffer * in);
            Samples ears = Play(chain, sound, in, out, rate);
            EXPECT_LE(Peak(ears), 1.0f) << rate;
            ears.erase(ears.begin(), ears.end() - static_cast<std::ptrdiff_t>(rate / 10 * out));
            EXPECT_LT(Peak(ears), 3e-4f) << rate << " Hz, " << in << " to " << out << " channels";
        });
    }
}

}  // namespace
}  // namespace quorvel::tool
