#include "dsp/dynamics/sample_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dsp/dynamics/tiny_gain.h"
#include "platform/processor.h"

namespace quorvel::dynamics {
namespace {

using Floats = float __attribute__((vector_size(16)));
using Bits = int32_t __attribute__((vector_size(16)));
constexpr int64_t kLanes = 4;

Floats Load(const float* samples) {
    Floats lanes;
    std::memcpy(&lanes, samples, sizeof(lanes));
    return lanes;
}

void Store(float* samples, Floats lanes) {
    std::memcpy(samples, &lanes, sizeof(lanes));
}

Floats Magnitude(Floats lanes) {
    return reinterpret_cast<Floats>(reinterpret_cast<Bits>(lanes) & 0x7FFFFFFF);
}

Floats Larger(Floats x, Floats peak) {
    return x > peak ? x : peak;
}

float LargestLane(Floats lanes) {
    return std::max(std::max(lanes[0], lanes[1]), std::max(lanes[2], lanes[3]));
}

// The largest |samples|, from 0.0; NaNs are passed over.
template <typename Count>
float LargestMagnitude(const float* samples, Count count) {
    int64_t i = 0;
    float peak = 0.0f;
    if (count >= kLanes) {
        Floats peaks{};
        for (; i + kLanes <= count; i += kLanes)
            peaks = Larger(Magnitude(Load(samples + i)), peaks);
        peak = LargestLane(peaks);
    }
    for (; i < count; ++i) {
        const float magnitude = std::fabs(samples[i]);
        peak = magnitude > peak ? magnitude : peak;
    }
    return peak;
}

// The ways to apply a gain: to one sample, and to four from `in` to `out`.

struct Unchanged {
    float One(float sample) const { return sample; }
    void Four(const float* in, float* out) const { Store(out, Load(in)); }
};

// A gain that single precision holds exactly may multiply in single precision: a product of 24 by
// 24 bits fits into a double, so both ways round the same exact product once.
struct TimesSingle {
    float gain;
    float One(float sample) const { return sample * gain; }
    void Four(const float* in, float* out) const { Store(out, Load(in) * gain); }
};

Pair LoadPair(const float* in) {
    return Pair{static_cast<double>(in[0]), static_cast<double>(in[1])};
}

struct TimesDouble {
    double gain;
    float One(float sample) const { return static_cast<float>(static_cast<double>(sample) * gain); }
    void Four(const float* in, float* out) const {
        ScaleFrame(in, out, std::integral_constant<int32_t, 4>{}, Both(gain));
    }
};

// For products that all end below the smallest normal float, as those of a gate do that stalled
// just above closed: many processors take a long way round for such results. A subnormal float is
// an integer in units of 2^-149, and adding 1.5 * 2^52 rounds a double to an integer just as the
// conversion to float would round it.
struct TimesTiny {
    double unitsGain;  // gain in units of 2^-149
    float One(float sample) const {
        return static_cast<float>(static_cast<double>(sample) * (unitsGain * 0x1p-149));
    }
    void Four(const float* in, float* out) const {
        const Bits units = __builtin_shufflevector(Units(in), Units(in + 2), 0, 2, 4, 6);
        const Bits samples = reinterpret_cast<Bits>(Load(in));
        const Bits negative = samples >> 31;  // all ones or zero
        const Bits magnitude = (units ^ negative) - negative;
        Store(out, reinterpret_cast<Floats>(magnitude | (samples & INT32_MIN)));
    }
    // Two results as integers, each followed by 32 bits without meaning.
    Bits Units(const float* in) const {
        constexpr double kToInteger = 0x1.8p52;  // its half bit takes the borrow of negative ones
        return reinterpret_cast<Bits>(LoadPair(in) * unitsGain + kToInteger);
    }
};

// One buffer that is scanned and scaled together, in units of whole frames, so that a unit is
// still at hand when it turns out to be quiet and none is touched when it is not.
struct QuietScan {
    const float* in;
    float* out;
    int64_t count;  // samples
    float ceiling;

    // Returns how many leading samples were scaled; `unit` samples are a multiple of kTile.
    template <typename Unit, typename Scale>
    int64_t Run(Unit unit, Scale scale) const {
        int64_t i = 0;
        for (; i + unit <= count; i += unit) {
            if (!IsQuiet(i, unit)) return i;
            if (std::is_same_v<Scale, Unchanged> && in == out) continue;
            for (int64_t v = i; v < i + unit; v += kLanes)
                scale.Four(in + v, out + v);
        }
        if (LargestMagnitude(in + i, count - i) > ceiling) return i;
        for (; i < count; ++i)
            out[i] = scale.One(in[i]);
        return i;
    }

    // Takes a NaN for loud.
    template <typename Unit>
    bool IsQuiet(int64_t start, Unit unit) const {
        Bits above{};
        for (int64_t v = start; v < start + unit; v += kLanes)
            above |= ~(Magnitude(Load(in + v)) <= ceiling);
        int64_t halves[2];
        std::memcpy(halves, &above, sizeof(halves));
        return (halves[0] | halves[1]) == 0;
    }
};

constexpr int32_t kTile = 32;  // samples; eight registers

// Samples of whole tiles and whole frames.
int64_t UnitOf(int32_t channels) {
    return kTile % channels == 0 ? kTile : int64_t{kTile} * channels;
}

// Scales the leading quiet units, where the processor and the gain allow, and returns how many
// samples those are.
int64_t PassTinyFused(const QuietScan& scan, int64_t unit, double unitsGain) {
    const auto single = static_cast<float>(unitsGain);
    const bool isExact = static_cast<double>(single) == unitsGain;
    if (!isExact || double{scan.ceiling} * unitsGain >= kMostFusedUnits) return 0;
    if (!platform::ProcessorHasFusedAdd()) return 0;
    return ScaleTinyFused(scan.in, scan.out, scan.count, unit, scan.ceiling, single);
}

}  // namespace

float FloatNotAbove(double x) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr double kLargest = std::numeric_limits<float>::max();
    if (x > kLargest) return std::isinf(x) ? kInfinity : std::numeric_limits<float>::max();
    if (x < -kLargest) return -kInfinity;
    const auto nearest = static_cast<float>(x);
    return static_cast<double>(nearest) > x ? std::nextafter(nearest, -kInfinity) : nearest;
}

int32_t ScaleWhileBelow(const float* in, float* out, int32_t frames, int32_t channels,
                        float ceiling, double gain) QUORVEL_REAL_TIME {
    if (!(ceiling >= 0.0f)) return 0;
    if (channels == 0) return frames;
    QuietScan scan{in, out, int64_t{frames} * channels, ceiling};
    const auto runWith = [&](auto scale) {
        const int64_t unit = UnitOf(channels);
        const int64_t samples = unit == kTile
                                    ? scan.Run(std::integral_constant<int64_t, kTile>{}, scale)
                                    : scan.Run(unit, scale);
        return static_cast<int32_t>(samples / channels);
    };
    if (std::fabs(gain - 1.0) <= kUnityTolerance) return runWith(Unchanged{});
    if (gain > 0.0 && gain < 1.0 && double{ceiling} * gain < 0x1p-126) {
        const double unitsGain = gain * kUnitsOfOne;
        const int64_t done = PassTinyFused(scan, UnitOf(channels), unitsGain);
        scan = {in + done, out + done, scan.count - done, ceiling};
        return static_cast<int32_t>(done / channels) + runWith(TimesTiny{unitsGain});
    }
    const auto single = static_cast<float>(gain);
    if (static_cast<double>(single) == gain) return runWith(TimesSingle{single});
    return runWith(TimesDouble{gain});
}

void FindPeaks(const float* in, int32_t frames, int32_t channels, double* peaks) QUORVEL_REAL_TIME {
    WithWidth(channels, [=](auto width) {
        const float* frame = in;
        for (int32_t f = 0; f < frames; ++f, frame += width)
            peaks[f] = static_cast<double>(LargestMagnitude(frame, width));
    });
}

}  // namespace quorvel::dynamics
