#include "authoring/measure/response_measurement.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "base/channel_masks.h"
#include "blocks/limiter_block.h"
#include "engine/audio_format.h"
#include "kinds/block_type_ids.h"
#include "platform/random.h"

namespace quorvel::tool {
namespace {

using Complex = std::complex<double>;

// The usual level, and the one where it would reach the graph's own limiter.
constexpr double kLevels[] = {0x1p-10, 0x1p-30};
constexpr float kNearFullScale = 0.5f;
constexpr float kImpulse = 0x1p-10f;
constexpr float kOutOfReachDb = 60.0f;
constexpr std::uint32_t kSeed = 1;

constexpr double kPeriodsInWindow = 8.0;
constexpr double kLeastWindowSeconds = 0.025;
constexpr double kMostSeconds = 8.0;   // for one frequency
constexpr double kSettled = 1e-4;      // from one window to the next, of what comes out
constexpr double kSilence = 1e-6;      // -120 dB
constexpr std::size_t kHistory = 12;   // windows; a change that is no smaller than so many before
constexpr double kStillFalling = 0.9;  // is that of noise

constexpr float kCarrier = 1.0f / 8192.0f;  // above what the graph takes for silence
constexpr std::int64_t kLongestLatencySeconds = 24;
constexpr std::uint32_t kPiecesPerSecond = 100;

// One window after the other of a sine, through the graph.
class SineMeter {
  public:
    SineMeter(AudioGraph& measuredGraph, double sineLevel, std::int32_t onlyChannel,
              std::int64_t latency)
        : graph(measuredGraph),
          level(sineLevel),
          only(onlyChannel),
          delay(static_cast<std::size_t>(std::max<std::int64_t>(latency, 0))),
          rate(graph.InputFormat().Format.nSamplesPerSec),
          inWidth(graph.InputFormat().Format.nChannels),
          outWidth(graph.OutputFormat().Format.nChannels) {}

    // By output channel. The sine first goes on for as long as the chain is late.
    std::vector<Complex> Measure(double frequency) {
        step = 2.0 * std::numbers::pi * frequency / rate;
        phase = 0.0;
        if (delay > 0) RunWindow(delay);
        const double seconds = std::max(kPeriodsInWindow / frequency, kLeastWindowSeconds);
        frames = static_cast<std::size_t>(std::ceil(seconds * rate));
        const auto windows = static_cast<std::size_t>(kMostSeconds / seconds);
        std::vector<Complex> last = MeasureWindow();
        std::vector<double> changes;
        while (changes.size() < windows) {
            std::vector<Complex> next = MeasureWindow();
            changes.push_back(Distance(last, next));
            const bool hasSettled = std::ranges::equal(last, next, IsNear);
            last = std::move(next);
            if (hasSettled || IsNoise(changes)) break;
        }
        return last;
    }

    // The largest sample that has come out.
    float Peak() const { return peak; }

  private:
    static bool IsNear(const Complex& a, const Complex& b) {
        return std::abs(a - b) <= kSettled * std::max(std::abs(a), kSilence);
    }

    static double Distance(const std::vector<Complex>& a, const std::vector<Complex>& b) {
        double most = 0.0;
        for (std::size_t c = 0; c < a.size(); ++c)
            most = std::max(most, std::abs(a[c] - b[c]));
        return most;
    }

    static bool IsNoise(const std::vector<double>& changes) {
        const std::size_t count = changes.size();
        return count > 2 * kHistory &&
               changes.back() > kStillFalling * changes[count - 1 - kHistory];
    }

    // The window's shape (Hann) keeps what is beside the frequency out.
    std::vector<Complex> MeasureWindow() {
        RunWindow(frames);
        std::vector<Complex> sums(outWidth);
        Complex inSum = 0.0;
        for (std::size_t f = 0; f < frames; ++f) {
            const double place = (static_cast<double>(f) + 0.5) / static_cast<double>(frames);
            const double weight = 1.0 - std::cos(2.0 * std::numbers::pi * place);
            const Complex turn = std::polar(weight, -step * static_cast<double>(f));
            inSum += turn * double{sine[f]};
            for (std::size_t c = 0; c < outWidth; ++c)
                sums[c] += turn * double{out[f * outWidth + c]};
        }
        for (Complex& sum : sums)
            sum /= inSum;
        return sums;
    }

    // In pieces of 10 ms, as sound comes.
    void RunWindow(std::size_t count) {
        sine.resize(count);
        in.assign(count * inWidth, 0.0f);
        out.assign(count * outWidth, 0.0f);
        for (std::size_t f = 0; f < count; ++f) {
            sine[f] = static_cast<float>(level * std::cos(phase));
            phase = std::remainder(phase + step, 2.0 * std::numbers::pi);
            for (std::size_t c = 0; c < inWidth; ++c)
                if (only < 0 || c == static_cast<std::size_t>(only)) in[f * inWidth + c] = sine[f];
        }
        const std::size_t piece = rate / kPiecesPerSecond;
        for (std::size_t f = 0; f < count; f += piece) {
            const auto length = static_cast<std::int32_t>(std::min(piece, count - f));
            graph.Process(in.data() + f * inWidth, out.data() + f * outWidth, length);
        }
        for (const float sample : out)
            peak = std::max(peak, std::fabs(sample));
    }

    AudioGraph& graph;
    double level;
    std::int32_t only;
    std::size_t delay;  // frames
    std::uint32_t rate;
    std::size_t inWidth;
    std::size_t outWidth;
    double step = 0.0;  // of the phase, by frame
    double phase = 0.0;
    std::size_t frames = 0;  // of a window
    float peak = 0.0f;
    std::vector<float> sine{};
    std::vector<float> in{};
    std::vector<float> out{};
};

// False when the graph's own limiter has, or may have, a part in it.
bool Measure(SineMeter& meter, const std::vector<double>& frequencies, MeasuredResponse& response) {
    response.values.clear();
    for (const double frequency : frequencies) {
        for (const Complex& value : meter.Measure(frequency)) {
            if (!std::isfinite(std::abs(value)))
                throw InvalidInput(Formatted("what comes out at %.0f Hz is not finite", frequency));
            response.values.push_back(value);
        }
        if (meter.Peak() > kNearFullScale) return false;
    }
    return true;
}

// `SetUp(graph)` makes the graph that is measured, anew for every level.
template <typename SetUpFunction>
MeasuredResponse Measure(const std::vector<double>& frequencies, std::int32_t only,
                         std::int64_t latency, const SetUpFunction& SetUp) {
    for (const double level : kLevels) {
        AudioGraph graph;
        platform::SeedRand(kSeed);
        SetUp(graph);
        MeasuredResponse response;
        response.sampleRate = graph.InputFormat().Format.nSamplesPerSec;
        response.channels = graph.OutputFormat().Format.nChannels;
        response.frequencies = frequencies;
        response.latency = latency;
        SineMeter meter(graph, level, only, latency);
        if (Measure(meter, frequencies, response)) return response;
    }
    throw InvalidInput("what comes out is too loud to be measured");
}

// A mixer with one input, or with the sum of several, changes nothing else.
void MakeNeutral(QuorvelAudioBlock& block) {
    LimiterParameters limiter;
    const bool delays = block.typeId == kLimiterBlockTypeId && block.dataSize >= sizeof(limiter);
    if (!delays) {
        block.typeId = kMixerBlockTypeId;
        return;
    }
    std::memcpy(&limiter, block.data, sizeof(limiter));
    limiter.thresholdDb = kOutOfReachDb;
    block.SetData(&limiter, sizeof(limiter));
}

void SetUpNeutralGraph(AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                       const ChainFormat& format) {
    QuorvelAudioBlocksChain neutral(chain);
    for (unsigned i = 0; i < neutral.blocks.Count(); ++i) {
        QuorvelAudioBlock& block = neutral.blocks.Item(i);
        if (IsDynamics(block.typeId)) MakeNeutral(block);
    }
    platform::SeedRand(kSeed);
    SetUpChainGraph(graph, neutral, format);
}

// The chain's output, piece by piece, for a quiet carrier with or without an impulse before it.
class ImpulseRun {
  public:
    ImpulseRun(const QuorvelAudioBlocksChain& chain, const ChainFormat& format, float impulse)
        : in(std::size_t{format.sampleRate / kPiecesPerSecond} * format.channels) {
        SetUpNeutralGraph(graph, chain, format);
        out.resize(std::size_t{format.sampleRate / kPiecesPerSecond} *
                   graph.OutputFormat().Format.nChannels);
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = i / format.channels % 2 == 0 ? kCarrier : -kCarrier;
        first = in;
        for (std::size_t c = 0; c < format.channels; ++c)
            first[c] += impulse;
    }

    const std::vector<float>& Next() {
        std::vector<float> samples = std::exchange(first, in);
        graph.Process(samples.data(), out.data(), static_cast<std::int32_t>(Frames()));
        return out;
    }

    std::size_t Frames() const { return out.size() / graph.OutputFormat().Format.nChannels; }

  private:
    AudioGraph graph{};
    std::vector<float> in;
    std::vector<float> first{};
    std::vector<float> out{};
};

}  // namespace

double MeasuredResponse::LevelDb(std::size_t place, std::uint32_t channel) const {
    return std::max(20.0 * std::log10(std::abs(At(place, channel))), kSilenceDb);
}

MeasuredResponse MeasureChain(const QuorvelAudioBlocksChain& chain, const ChainFormat& format,
                              const std::vector<double>& frequencies, std::int32_t only) {
    return Measure(frequencies, only, MeasureLatency(chain, format),
                   [&](AudioGraph& graph) { SetUpNeutralGraph(graph, chain, format); });
}

MeasuredResponse MeasureBlock(const QuorvelAudioBlock& block, const ChainFormat& format,
                              const std::vector<double>& frequencies) {
    return Measure(frequencies, -1, 0, [&](AudioGraph& graph) {
        const std::uint32_t mask =
            format.mask != 0 ? format.mask : DefaultChannelMask(format.channels);
        const AudioFormat in =
            MakeFloatFormat(static_cast<std::uint16_t>(format.channels), mask, format.sampleRate);
        graph.SetNoiseEnabled(false);
        graph.AddNewBlock(block.typeId, block.data, block.dataSize, block.id);
        graph.SetFormats(&in.Format, &in.Format);
    });
}

// Both runs are the same, bit for bit, up to what the impulse changes; so are their seeds.
std::int64_t MeasureLatency(const QuorvelAudioBlocksChain& chain, const ChainFormat& format) {
    ImpulseRun with(chain, format, kImpulse), without(chain, format, 0.0f);
    const auto frames = static_cast<std::int64_t>(with.Frames());
    const std::int64_t pieces = kLongestLatencySeconds * kPiecesPerSecond;
    for (std::int64_t piece = 0; piece < pieces; ++piece) {
        const auto seed = static_cast<std::uint32_t>(piece) + kSeed;
        platform::SeedRand(seed);
        const std::vector<float>& changed = with.Next();
        platform::SeedRand(seed);
        const std::vector<float>& plain = without.Next();
        const auto place = std::ranges::mismatch(changed, plain).in1;
        if (place != changed.end())
            return piece * frames +
                   (place - changed.begin()) * frames / static_cast<std::int64_t>(changed.size());
    }
    return -1;
}

bool IsDynamics(const GUID& typeId) {
    constexpr GUID kKinds[] = {kCompressorBlockTypeId, kLimiterBlockTypeId, kNoiseGateBlockTypeId};
    return std::ranges::count(kKinds, typeId) > 0;
}

bool IsFilter(const GUID& typeId) {
    constexpr GUID kKinds[] = {kBandPassFilterBlockTypeId,  kHighPassFilterBlockTypeId,
                               kHighShelfFilterBlockTypeId, kLowPassFilterBlockTypeId,
                               kLowShelfFilterBlockTypeId,  kNotchFilterBlockTypeId,
                               kPeakingEQFilterBlockTypeId};
    return std::ranges::count(kKinds, typeId) > 0;
}

}  // namespace quorvel::tool
