#include "authoring/measure/sound_difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quorvel::tool {
namespace {

constexpr std::int64_t kCorrelatedFrames = 24000;
constexpr double kBetter = 1e-9;  // of a correlation; less is rounding
constexpr std::size_t kBlocksPerSecond = 1000, kBlocksInWindow = 10;
constexpr double kFarthest = 1e30;  // for sums of what is infinitely far

// One sound's channels apart, and its power up to every frame.
struct Planes {
    explicit Planes(const SoundSamples& sound)
        : frames(sound.Frames()),
          channels(sound.channels, std::vector<float>(static_cast<std::size_t>(frames))),
          powerBefore(static_cast<std::size_t>(frames) + 1) {
        const std::size_t width = sound.channels;
        for (std::size_t f = 0; f < static_cast<std::size_t>(frames); ++f) {
            double power = 0.0;
            for (std::size_t c = 0; c < width; ++c) {
                const float sample = sound.samples[f * width + c];
                if (!std::isfinite(sample)) continue;
                channels[c][f] = sample;
                power += double{sample} * sample;
            }
            powerBefore[f + 1] = powerBefore[f] + power;
        }
    }

    double Power(std::int64_t from, std::int64_t to) const {
        return powerBefore[static_cast<std::size_t>(to)] -
               powerBefore[static_cast<std::size_t>(from)];
    }

    // Where a window around the loudest of the first `count` frames begins.
    std::int64_t LoudestPlace(std::int64_t count) const {
        std::int64_t loudest = 0;
        for (std::int64_t f = 1; f < count; ++f)
            if (Power(f, f + 1) > Power(loudest, loudest + 1)) loudest = f;
        return std::clamp<std::int64_t>(loudest - kCorrelatedFrames / 2, 0,
                                        std::max<std::int64_t>(count - kCorrelatedFrames, 0));
    }

    std::int64_t frames;
    std::vector<std::vector<float>> channels;
    std::vector<double> powerBefore;
};

// Of the window from `start` on, 0 to 1; 0 where less than half of it overlaps.
double Correlation(const Planes& a, const Planes& b, std::int64_t start, std::int64_t shift) {
    const std::int64_t window = std::min({kCorrelatedFrames, a.frames, b.frames});
    const std::int64_t from = std::max(start, -shift);
    const std::int64_t to = std::min(start + window, b.frames - shift);
    if (to - from < window / 2) return 0.0;
    const double power = std::sqrt(a.Power(from, to) * b.Power(from + shift, to + shift));
    if (!(power > 0.0)) return 0.0;
    double sum = 0.0;
    for (std::size_t c = 0; c < a.channels.size(); ++c) {
        const float* const one = a.channels[c].data();
        const float* const other = b.channels[c].data();
        double product = 0.0;
        for (std::int64_t i = from; i < to; ++i)
            product += double{one[i]} * double{other[i + shift]};
        sum += std::fabs(product);
    }
    return sum / power;
}

double Residual(float a, float b) {
    if (std::isfinite(a) && std::isfinite(b)) return double{b} - double{a};
    const bool isSame = (std::isnan(a) && std::isnan(b)) || a == b;
    return isSame ? 0.0 : std::numeric_limits<double>::infinity();
}

// A millisecond.
struct Block {
    double power = 0.0;  // of the residual, over its frames and channels
    std::int64_t frames = 0;
};

// The loudest ten of the blocks in a row.
void FindWorst(const std::vector<Block>& blocks, std::int64_t begin, std::int64_t blockFrames,
               std::size_t width, SoundDifference& difference) {
    double worst = -1.0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        Block window;
        for (std::size_t k = i; k < std::min(i + kBlocksInWindow, blocks.size()); ++k) {
            window.power += blocks[k].power;
            window.frames += blocks[k].frames;
        }
        if (window.power <= worst) continue;
        worst = window.power;
        difference.worstFrame = begin + static_cast<std::int64_t>(i) * blockFrames;
        difference.worstRms =
            std::sqrt(worst / (static_cast<double>(window.frames) * static_cast<double>(width)));
    }
}

// Frames of [from, to) that are not silent.
std::int64_t SoundingFrames(const SoundSamples& sound, std::int64_t from, std::int64_t to) {
    std::int64_t count = 0;
    for (std::int64_t f = from; f < to; ++f) {
        const float* const frame = sound.samples.data() + f * sound.channels;
        count += std::any_of(frame, frame + sound.channels, [](float x) { return x != 0.0f; });
    }
    return count;
}

}  // namespace

std::int64_t FindShift(const SoundSamples& first, const SoundSamples& second, std::int64_t most) {
    const Planes a(first), b(second);
    if (a.frames == 0 || b.frames == 0) return 0;
    const std::int64_t start = a.LoudestPlace(std::min(a.frames, b.frames));
    std::int64_t best = 0;
    double largest = Correlation(a, b, start, 0);
    for (std::int64_t size = 1; size <= most; ++size) {
        for (const std::int64_t shift : {size, -size}) {
            const double found = Correlation(a, b, start, shift);
            if (found > largest + kBetter) largest = found, best = shift;
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
    const std::int64_t last = std::max(begin, end);
    difference.unpairedFirst = SoundingFrames(first, 0, std::min(begin, first.Frames())) +
                               SoundingFrames(first, last, first.Frames());
    difference.unpairedSecond =
        SoundingFrames(second, 0, std::min(begin + shift, second.Frames())) +
        SoundingFrames(second, last + shift, second.Frames());
    const auto blockFrames =
        std::max<std::int64_t>(first.sampleRate / std::int64_t{kBlocksPerSecond}, 1);
    std::vector<Block> blocks;
    for (std::int64_t f = begin; f < end; ++f) {
        if ((f - begin) % blockFrames == 0) blocks.emplace_back();
        ++blocks.back().frames;
        for (std::size_t c = 0; c < width; ++c) {
            const std::size_t a = static_cast<std::size_t>(f) * width + c;
            const std::size_t b = static_cast<std::size_t>(f + shift) * width + c;
            const double residual = Residual(first.samples[a], second.samples[b]);
            if (residual != 0.0 && difference.firstFrame < 0) difference.firstFrame = f;
            ChannelDifference& channel = difference.channels[c];
            channel.peak = std::max(channel.peak, std::fabs(residual));
            channel.rms += residual * residual;
            blocks.back().power += std::min(residual * residual, kFarthest);
        }
    }
    FindWorst(blocks, begin, blockFrames, width, difference);
    const auto frames = static_cast<double>(std::max<std::int64_t>(difference.frames, 1));
    for (ChannelDifference& channel : difference.channels)
        channel.rms = std::sqrt(channel.rms / frames);
    return difference;
}

}  // namespace quorvel::tool
