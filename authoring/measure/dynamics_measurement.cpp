#include "authoring/measure/dynamics_measurement.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "authoring/document/exit_status.h"
#include "authoring/render/observed_block.h"
#include "base/channel_masks.h"
#include "engine/audio_graph.h"
#include "engine/block_factory.h"
#include "kinds/block_type_ids.h"

namespace quorvel::tool {
namespace {

constexpr std::uint32_t kCurveRate = 8000;  // Hz; levels do not depend on it
constexpr double kLeastSettlingSeconds = 2.0;
constexpr double kSettledAttacks = 6.0;  // time constants; the rest is a fraction of a dB
constexpr double kLoudestDb = 200.0;     // what a chart can still show of a runaway
constexpr double kSquareHz = 1000.0;
constexpr int kLowestDb = -80, kHighestDb = 6;
constexpr double kPointsPerMs = 8.0;
constexpr double kMostPoints = 20000.0;
constexpr std::uint32_t kLongestAttackMs = 10000, kLongestReleaseMs = 10000;

// Keeps what the block made, before the graph's own limiter sees it.
class Recorder final : public BlockObserver {
  public:
    void After(const float* out, std::int32_t frames, std::int32_t) override {
        samples.insert(samples.end(), out, out + frames);
    }

    std::vector<float> samples{};
};

// What the block makes of the samples of one channel.
std::vector<float> Run(const QuorvelAudioBlock& stored, std::uint32_t sampleRate,
                       std::vector<float> in) {
    const auto block = CreateBlock(stored.typeId, stored.id);
    if (!block) return in;
    if (stored.data) block->SetParameterData(stored.data, stored.dataSize);
    Recorder recorder;
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    graph.AddBlockAndConnect(std::make_shared<ObservedBlock>(block, recorder));
    const AudioFormat mono = MakeFloatFormat(1, DefaultChannelMask(1), sampleRate);
    graph.SetFormats(&mono.Format, &mono.Format);
    std::vector<float> out(in.size());
    graph.Process(in.data(), out.data(), static_cast<std::int32_t>(in.size()));
    recorder.samples.resize(in.size());
    const auto isFinite = [](float sample) { return std::isfinite(sample); };
    if (!std::ranges::all_of(recorder.samples, isFinite))
        throw InvalidInput("what a compressor, limiter or gate gives is not finite");
    return std::move(recorder.samples);
}

float Amplitude(double decibels) {
    return static_cast<float>(std::pow(10.0, decibels / 20.0));
}

double Decibels(double amplitude) {
    return std::clamp(20.0 * std::log10(amplitude), kSilenceDb, kLoudestDb);
}

// The sign of the square wave in a frame.
float Sign(std::size_t frame, std::uint32_t sampleRate) {
    const double halves = static_cast<double>(frame) * kSquareHz * 2.0 / sampleRate;
    return static_cast<std::int64_t>(halves) % 2 == 0 ? 1.0f : -1.0f;
}

// The three kinds of records begin alike. A record may say anything: what is measured has bounds.
struct Times {
    float thresholdDb = 0.0f;
    std::uint32_t attackMs = 0;
    std::uint32_t releaseMs = 0;
};

Times TimesOf(const QuorvelAudioBlock& block) {
    Times times;
    if (block.data && block.dataSize >= sizeof(times))
        std::memcpy(&times, block.data, sizeof(times));
    times.attackMs = std::min(times.attackMs, kLongestAttackMs);
    times.releaseMs = std::min(times.releaseMs, kLongestReleaseMs);
    return times;
}

// After how many frames a loud sound comes out.
std::size_t Delay(const QuorvelAudioBlock& block, std::uint32_t sampleRate) {
    const double seconds = 1.0 + TimesOf(block).attackMs / 1000.0;
    const auto frames = static_cast<std::size_t>(seconds * sampleRate);
    const std::vector<float> out = Run(block, sampleRate, std::vector<float>(frames, 1.0f));
    const auto sounds = [](float sample) { return sample != 0.0f; };
    return static_cast<std::size_t>(std::ranges::find_if(out, sounds) - out.begin());
}

}  // namespace

std::vector<LevelPoint> MeasureStaticCurve(const QuorvelAudioBlock& block) {
    std::vector<LevelPoint> curve;
    const double seconds =
        std::max(kLeastSettlingSeconds, kSettledAttacks * TimesOf(block).attackMs / 1000.0);
    std::vector<float> in(static_cast<std::size_t>(seconds * kCurveRate));
    for (int level = kLowestDb; level <= kHighestDb; ++level) {
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = Amplitude(level) * Sign(i, kCurveRate);
        const std::vector<float> out = Run(block, kCurveRate, in);
        curve.push_back({double(level), Decibels(std::fabs(out.back()))});
    }
    return curve;
}

LevelStep UsualStep(const QuorvelAudioBlock& block) {
    const Times times = TimesOf(block);
    LevelStep step;
    if (block.typeId == kLimiterBlockTypeId)
        step = {.restDb = -40.0, .stepDb = 6.0, .endMs = 150.0, .lengthMs = 500.0};
    step.endMs = std::max(step.endMs, step.beginMs + 4.0 * times.attackMs);
    step.lengthMs = std::max(step.lengthMs, step.endMs + 4.0 * times.releaseMs);
    return step;
}

std::vector<GainPoint> MeasureStep(const QuorvelAudioBlock& block, std::uint32_t sampleRate,
                                   const LevelStep& step) {
    const double framesPerMs = sampleRate / 1000.0;
    const std::size_t delay = Delay(block, sampleRate);
    std::vector<float> in(static_cast<std::size_t>(step.lengthMs * framesPerMs) + delay);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const double ms = static_cast<double>(i) / framesPerMs;
        const bool isStep = ms >= step.beginMs && ms < step.endMs;
        in[i] = Amplitude(isStep ? step.stepDb : step.restDb) * Sign(i, sampleRate);
    }
    const std::vector<float> out = Run(block, sampleRate, in);
    std::vector<GainPoint> gains;
    const double stride =
        std::max({framesPerMs / kPointsPerMs, 1.0, static_cast<double>(in.size()) / kMostPoints});
    for (double place = 0.0; place + static_cast<double>(delay) < static_cast<double>(out.size());
         place += stride) {
        const auto i = static_cast<std::size_t>(place);
        const double gain = std::fabs(double{out[i + delay]} / double{in[i]});
        gains.push_back({place / framesPerMs, Decibels(gain)});
    }
    return gains;
}

}  // namespace quorvel::tool
