// The look-ahead limiter's vector kernel, for lanes of any width. For vector kernels alone; the
// rules of base/math/number_lanes.h on linkage hold here too.
//
// A turn of the loop works on three units of four frames, as dsp/dynamics/compressor_lanes.h
// has it:
//
//     turn t:   keys of unit t   |   envelope through unit t - 1   |   delay and gains of unit t -
//     3
#pragma once

#include "dsp/dynamics/frame_lanes.h"
#include "dsp/dynamics/limiter_kernels.h"

namespace quorvel::dynamics {
namespace {

// Rows become columns.
inline void Transpose(FourFloats (&rows)[4]) {
    const FourFloats a = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
    const FourFloats b = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
    const FourFloats c = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
    const FourFloats d = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
    rows[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    rows[1] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    rows[2] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    rows[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
}

template <typename Number, int Channels>
class LimiterPass {
  public:
    // Runs the leading whole units.
    static void Run(LimiterRun& run) {
        LimiterPass pass(run);
        const std::int32_t units = run.frames / kUnit;
        for (std::int32_t t = 0; t < units + kGainsBehind; ++t) {
            if (t < units) pass.FindKeys(t);
            if (t >= 1 && t <= units) pass.FollowKeys(t - 1);
            if (t >= kGainsBehind) pass.DelayAndScale(t - kGainsBehind);
        }
        run.cursor = pass.cursor;
        run.peakTimer = pass.timer;
        run.maxPeak = pass.maxPeak;
        run.envelope = pass.state[0];
    }

  private:
    using Pair = math::TwoNumbers;

    static constexpr std::int32_t kGainsBehind = 3;
    static constexpr int kRing = 8;  // units, a power of two above kGainsBehind

    explicit LimiterPass(const LimiterRun& theRun)
        : run(theRun),
          rise{run.attack, run.attack},
          fall{run.release, run.release},
          state{run.envelope, run.envelope},
          maxPeak(run.maxPeak),
          timer(run.peakTimer),
          cursor(run.cursor) {}

    std::int32_t Width() const {
        return Channels > 0 ? Channels : static_cast<std::int32_t>(run.channels);
    }

    std::int64_t SamplesBefore(std::int32_t unit) const {
        return std::int64_t{unit} * kUnit * Width();
    }

    void FindKeys(std::int32_t unit) {
        const Number threshold = math::All<Number>(run.threshold);
        const FourFloats found = UnitPeaks<Channels>(run.in + SamplesBefore(unit), Width());
        Unit<Number> keys = Widened<Number>(found);
        for (Number& key : keys.part)
            key = key < threshold ? threshold : key;
        std::memcpy(ring[unit % kRing], &keys, sizeof keys);
    }

    // The held peak and its follower, in place.
    void FollowKeys(std::int32_t unit) {
        double* const values = ring[unit % kRing];
        for (int f = 0; f < kUnit; ++f) {
            ++timer;
            if (timer >= run.peakHold || values[f] > maxPeak) {
                timer = 0;
                maxPeak = values[f];
            }
            const Pair target = {maxPeak, maxPeak};
            state = target + (target > state ? rise : fall) * (state - target);
            values[f] = state[0];
        }
    }

    void DelayAndScale(std::int32_t unit) {
        Unit<Number> gains;
        std::memcpy(&gains, ring[unit % kRing], sizeof gains);
        for (Number& gain : gains.part)
            gain = math::All<Number>(run.threshold) / gain;
        const std::int64_t start = SamplesBefore(unit);
        const std::uint32_t oldest = (cursor - run.peakHold) & run.mask;
        const bool isWhole = cursor + kUnit <= run.mask + 1 && oldest + kUnit <= run.mask + 1;
        if (isWhole)
            DelayUnit(run.in + start, run.out + start, oldest, gains);
        else
            DelayFrames(run.in + start, run.out + start, gains);
        cursor = (cursor + kUnit) & run.mask;
    }

    // Where the unit ends a line and begins it again.
    void DelayFrames(const float* in, float* out, const Unit<Number>& gains) const {
        double gain[kUnit];
        std::memcpy(gain, &gains, sizeof gain);
        for (int f = 0; f < kUnit; ++f, in += Width(), out += Width()) {
            const std::uint32_t to = (cursor + static_cast<std::uint32_t>(f)) & run.mask;
            const std::uint32_t from = (to - run.peakHold) & run.mask;
            for (std::int32_t c = 0; c < Width(); ++c) {
                const float delayed = run.lines[c][from];
                run.lines[c][to] = in[c];
                out[c] = static_cast<float>(double{delayed} * gain[f]);
            }
        }
    }

    // Four neighbouring samples of every line at once.
    void DelayUnit(const float* in, float* out, std::uint32_t oldest,
                   const Unit<Number>& gains) const {
        if constexpr (Channels == 1) {
            const FourFloats fresh = LoadFour(in);
            ScaleFour(run.lines[0] + oldest, out, gains);
            StoreFour(run.lines[0] + cursor, fresh);
        } else if constexpr (Channels == 2) {
            const FourFloats a = LoadFour(in), b = LoadFour(in + 4);
            const FourFloats left = Delayed(0, oldest, gains), right = Delayed(1, oldest, gains);
            StoreFour(run.lines[0] + cursor, __builtin_shufflevector(a, b, 0, 2, 4, 6));
            StoreFour(run.lines[1] + cursor, __builtin_shufflevector(a, b, 1, 3, 5, 7));
            StoreFour(out, __builtin_shufflevector(left, right, 0, 4, 1, 5));
            StoreFour(out + 4, __builtin_shufflevector(left, right, 2, 6, 3, 7));
        } else {
            std::int32_t c = 0;
            for (; c + 4 <= Width(); c += 4)
                DelayFourLines(c, in, out, oldest, gains);
            for (; c < Width(); ++c)
                DelayOneLine(c, in, out, oldest, gains);
        }
    }

    FourFloats Delayed(std::int32_t line, std::uint32_t oldest, const Unit<Number>& gains) const {
        FourFloats scaled;
        ScaleFour(run.lines[line] + oldest, reinterpret_cast<float*>(&scaled), gains);
        return scaled;
    }

    void DelayFourLines(std::int32_t first, const float* in, float* out, std::uint32_t oldest,
                        const Unit<Number>& gains) const {
        FourFloats fresh[4], delayed[4];
        for (int i = 0; i < 4; ++i) {
            fresh[i] = LoadFour(in + first + i * Width());
            delayed[i] = Delayed(first + i, oldest, gains);
        }
        Transpose(fresh);
        Transpose(delayed);
        for (int i = 0; i < 4; ++i) {
            StoreFour(run.lines[first + i] + cursor, fresh[i]);
            StoreFour(out + first + i * Width(), delayed[i]);
        }
    }

    void DelayOneLine(std::int32_t line, const float* in, float* out, std::uint32_t oldest,
                      const Unit<Number>& gains) const {
        const FourFloats delayed = Delayed(line, oldest, gains);
        for (int f = 0; f < kUnit; ++f) {
            run.lines[line][cursor + static_cast<std::uint32_t>(f)] = in[line + f * Width()];
            out[line + f * Width()] = delayed[f];
        }
    }

    const LimiterRun& run;
    Pair rise;
    Pair fall;
    Pair state;
    double maxPeak;
    std::uint32_t timer;
    std::uint32_t cursor;
    double ring[kRing][kUnit];  // keys, then the envelope
};

template <typename Number>
std::int32_t RunLimiterInLanes(LimiterRun& run) {
    switch (run.channels) {
        case 1:
            LimiterPass<Number, 1>::Run(run);
            break;
        case 2:
            LimiterPass<Number, 2>::Run(run);
            break;
        case 8:
            LimiterPass<Number, 8>::Run(run);
            break;
        default:
            LimiterPass<Number, 0>::Run(run);
    }
    return run.frames / kUnit * kUnit;
}

}  // namespace
}  // namespace quorvel::dynamics
