#include "tools/sound_difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quorvel::tool {
namespace {

constexpr std::int64_t kWindowsPerSecond = 100;
constexpr std::int64_t kCorrelatedSeconds = 2;

// All channels of a frame together; what is not finite counts as silence.
std::vector<float> Mono(const SoundSamples& sound) {
    std::vector<float> mono(static_cast<std::size_t>(sound.Frames()));
    for (std::size_t i = 0; i < mono.size() * sound.channels; ++i)
        if (std::isfinite(sound.samples[i])) mono[i / sound.channels] += sound.samples[i];
    return mono;
}

// Where a window of that many frames around the loudest sample begins.
std::int64_t LoudestPlace(const std::vector<float>& mono, std::int64_t window) {
    const auto loudest =
        std::ranges::max_element(mono, {}, [](float sample) { return std::fabs(sample); });
    const std::int64_t last = static_cast<std::int64_t>(mono.size()) - window;
    return std::clamp<std::int64_t>(loudest - mono.begin() - window / 2, 0,
                                    std::max<std::int64_t>(last, 0));
}

double Correlation(const std::vector<float>& a, const std::vector<float>& b, std::int64_t start,
                   std::int64_t count, std::int64_t shift) {
    const auto size = static_cast<std::int64_t>(b.size());
    const std::int64_t from = std::max(start, -shift);
    const std::int64_t to =
        std::min({start + count, static_cast<std::int64_t>(a.size()), size - shift});
    double sum = 0.0;
    for (std::int64_t i = from; i < to; ++i)
        sum += double{a[static_cast<std::size_t>(i)]} * b[static_cast<std::size_t>(i + shift)];
    return sum;
}

double Residual(float a, float b) {
    if (std::isfinite(a) && std::isfinite(b)) return double{b} - a;
    const bool isSame = (std::isnan(a) && std::isnan(b)) || a == b;
    return isSame ? 0.0 : std::numeric_limits<double>::infinity();
}

}  // namespace

std::int64_t FindShift(const SoundSamples& first, const SoundSamples& second, std::int64_t most) {
    const std::vector<float> a = Mono(first), b = Mono(second);
    if (a.empty() || b.empty()) return 0;
    const std::int64_t window = kCorrelatedSeconds * first.sampleRate;
    const std::int64_t start = LoudestPlace(a, window);
    std::int64_t best = 0;
    double largest = std::fabs(Correlation(a, b, start, window, 0));
    for (std::int64_t size = 1; size <= most; ++size) {
        for (const std::int64_t shift : {size, -size}) {
            const double found = std::fabs(Correlation(a, b, start, window, shift));
            if (found > largest) largest = found, best = shift;
        }
    }
    return best;
}

SoundDifference Compare(const SoundSamples& first, const SoundSamples& second, std::int64_t shift) {
    SoundDifference difference;
    difference.shift = shift;
    const std::size_t width = first.channels;
    difference.channels.resize(width);
    const std::int64_t begin = std::max<std::int64_t>(0, -shift);
    const std::int64_t end = std::min(first.Frames(), second.Frames() - shift);
    difference.frames = std::max<std::int64_t>(end - begin, 0);
    const std::int64_t window = first.sampleRate / kWindowsPerSecond;
    double windowSum = 0.0, worst = -1.0;
    for (std::int64_t f = begin; f < end; ++f) {
        if ((f - begin) % window == 0) windowSum = 0.0;
        for (std::size_t c = 0; c < width; ++c) {
            const std::size_t a = static_cast<std::size_t>(f) * width + c;
            const std::size_t b = static_cast<std::size_t>(f + shift) * width + c;
            const double residual = Residual(first.samples[a], second.samples[b]);
            if (residual != 0.0 && difference.firstFrame < 0) difference.firstFrame = f;
            ChannelDifference& channel = difference.channels[c];
            channel.peak = std::max(channel.peak, std::fabs(residual));
            channel.rms += residual * residual;
            windowSum += residual * residual;
        }
        if (windowSum > worst) {
            worst = windowSum;
            difference.worstFrame = f - (f - begin) % window;
        }
    }
    const auto frames = static_cast<double>(std::max<std::int64_t>(difference.frames, 1));
    for (ChannelDifference& channel : difference.channels)
        channel.rms = std::sqrt(channel.rms / frames);
    difference.worstRms = std::sqrt(std::max(worst, 0.0) /
                                    (static_cast<double>(window) * static_cast<double>(width)));
    return difference;
}

}  // namespace quorvel::tool
