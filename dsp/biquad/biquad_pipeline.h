// Sections in series as a pipeline of vector lanes. For the vector kernels alone; the rules of
// dsp/biquad/biquad_lanes.h on linkage hold here too.
//
// A *stage* is one band of a group of neighbouring channels. In one step stage s works on the frame
// two before the one that stage s - 1 works on: its input is what stage s - 1 gave two steps ago.
// So no stage waits for another within a step, and a vector, called a *wave*, carries as many
// stages as it has room for: lane = stage in the wave × kGroup + channel. Two frames rather than
// one leave the way into the next lane off the critical path, which is then y[n-1] to y[n] alone.
//
//     step t    wave 0: stage 0 on frame t      | stage 1 on frame t - 2     | …
//               wave 1: stage k on frame t - 2k | stage k+1 on frame t - 2k-2 | …
//
// A stage *enters* when its first frame comes: its true past is put into its lanes, over whatever
// they held. After its last frame it *leaves*: its past is taken out again. Lanes before, after and
// beyond that calculate values that nobody reads.
#pragma once

#include <cstddef>
#include <utility>

#include "dsp/biquad/biquad_kernels.h"
#include "dsp/biquad/biquad_lanes.h"

namespace quorvel {
namespace {

constexpr int kSkew = 2;  // frames between neighbouring stages

constexpr int RoundUpToPowerOfTwo(int n) {
    int power = 1;
    while (power < n)
        power *= 2;
    return power;
}

// One pass over a buffer: `Waves` waves, `Channels` neighbouring channels.
template <typename Vector, int Channels, int Waves>
class BiquadPass {
  public:
    static constexpr int kLanes = sizeof(Vector) / sizeof(float);
    static constexpr int kGroup = RoundUpToPowerOfTwo(Channels);
    static constexpr int kStagesPerWave = kLanes / kGroup;

    // Runs `stages` bands (1 to Waves × kStagesPerWave) from `firstBand` on over the first
    // `Channels` channels of `run`, which has at least kSkew × (stages - 1) frames.
    static void Run(const BiquadRun& run, int firstBand, int stages) {
        BiquadPass pass;
        pass.ForEachSection(run, firstBand, stages, [&](const BiquadSection& s, int w, int lane) {
            pass.Load(s, w, lane);
        });
        pass.Sweep(run, stages);
        pass.ForEachSection(run, firstBand, stages, [&](BiquadSection& s, int w, int lane) {
            pass.edges.Store(s, w, lane);
        });
    }

  private:
    // The past of every lane, as in BiquadSection.
    struct History {
        Vector x1[Waves] = {};
        Vector x2[Waves] = {};
        Vector y1[Waves] = {};
        Vector y2[Waves] = {};

        void Load(const BiquadSection& section, int wave, int lane) {
            x1[wave][lane] = section.x1;
            x2[wave][lane] = section.x2;
            y1[wave][lane] = section.y1;
            y2[wave][lane] = section.y2;
        }

        void Store(BiquadSection& section, int wave, int lane) const {
            section.x1 = x1[wave][lane];
            section.x2 = x2[wave][lane];
            section.y1 = y1[wave][lane];
            section.y2 = y2[wave][lane];
        }
    };

    // Where the next frame comes from and where the next result goes to. The strides are floats.
    struct Stream {
        const float* in;
        std::ptrdiff_t inStride;
        float* out;
        std::ptrdiff_t outStride;
    };

    template <typename Action>
    static void ForEachSection(const BiquadRun& run, int firstBand, int stages, Action action) {
        for (int c = 0; c < Channels; ++c) {
            BiquadSection* section = run.sections + std::ptrdiff_t{c} * run.bands + firstBand;
            for (int s = 0; s < stages; ++s)
                action(section[s], s / kStagesPerWave, s % kStagesPerWave * kGroup + c);
        }
    }

    void Load(const BiquadSection& section, int wave, int lane) {
        b0[wave][lane] = section.b0;
        b1[wave][lane] = section.b1;
        b2[wave][lane] = section.b2;
        a1[wave][lane] = section.a1;
        a2[wave][lane] = section.a2;
        edges.Load(section, wave, lane);
    }

    // Fills the pipeline, runs it full, drains it.
    void Sweep(const BiquadRun& run, int stages) {
        const float silence[Channels] = {};
        float nowhere[Channels];
        const int last = stages - 1;
        const int lastLane = last % kStagesPerWave * kGroup;
        Stream stream = {run.in, run.width, nowhere, 0};
        for (int s = 0; s < last; ++s) {
            CopyStage(s, edges, live);
            Steps(stream, kSkew, lastLane);
        }
        CopyStage(last, edges, live);
        stream = {stream.in, run.width, run.out, run.width};
        Steps(stream, run.frames - kSkew * last, lastLane);
        stream = {silence, 0, stream.out, run.width};
        for (int s = 0; s < last; ++s) {
            CopyStage(s, live, edges);
            Steps(stream, kSkew, lastLane);
        }
        CopyStage(last, live, edges);
    }

    static void CopyStage(int stage, const History& from, History& to) {
        const int wave = stage / kStagesPerWave;
        const int lane = stage % kStagesPerWave * kGroup;
        CopyGroup(from.x1[wave], to.x1[wave], lane);
        CopyGroup(from.x2[wave], to.x2[wave], lane);
        CopyGroup(from.y1[wave], to.y1[wave], lane);
        CopyGroup(from.y2[wave], to.y2[wave], lane);
    }

    static void CopyGroup(const Vector& from, Vector& to, int lane) {
        std::memcpy(reinterpret_cast<float*>(&to) + lane,
                    reinterpret_cast<const float*>(&from) + lane, kGroup * sizeof(float));
    }

    // The loop that counts. It runs on copies, which the compiler keeps in registers, two steps a
    // turn, so that a value grows old by its name and not by a move. Never inlined: one copy of it
    // serves filling, running and draining.
    __attribute__((noinline)) void Steps(Stream& stream, int steps, int lastLane) {
        History history = live;
        Stream position = stream;
        for (; steps >= 2; steps -= 2) {
            Step(history, position, lastLane);
            Step(history, position, lastLane);
        }
        if (steps > 0) Step(history, position, lastLane);
        stream = position;
        live = history;
    }

    // Last wave first: a wave takes over what the one before it gave two steps ago.
    __attribute__((always_inline)) void Step(History& h, Stream& stream, int lastLane) const {
#pragma GCC unroll 3
        for (int w = Waves - 1; w >= 0; --w) {
            const Vector x = w > 0 ? Follow(h.y2[w - 1], h.y2[w]) : Begin(stream.in, h.y2[w]);
            const Vector y =
                b1[w] * h.x1[w] + b0[w] * x + b2[w] * h.x2[w] - a1[w] * h.y1[w] - a2[w] * h.y2[w];
            h.x2[w] = h.x1[w];
            h.x1[w] = x;
            h.y2[w] = h.y1[w];
            h.y1[w] = y;
        }
        WriteFrame<Vector, Channels>(h.y1[Waves - 1], lastLane, stream.out);
        stream.in += stream.inStride;
        stream.out += stream.outStride;
    }

    using LaneNumbers = std::make_integer_sequence<int, kLanes>;

    // Every stage's input in one vector: the top group of `before`, then `own` moved up a group.
    static Vector Follow(Vector before, Vector own) {
        return Follow(before, own, LaneNumbers{});
    }

    template <int... Lane>
    static Vector Follow(Vector before, Vector own, std::integer_sequence<int, Lane...>) {
        return __builtin_shufflevector(before, own, (kLanes - kGroup + Lane)...);
    }

    // The same for the first wave: the frame at `in`, then `own` moved up a group.
    static Vector Begin(const float* in, Vector own) {
        return Begin(ReadFrame<Vector, Channels>(in), own, LaneNumbers{});
    }

    template <int... Lane>
    static Vector Begin(Vector frame, Vector own, std::integer_sequence<int, Lane...>) {
        return __builtin_shufflevector(frame, own,
                                       (Lane < kGroup ? Lane : kLanes - kGroup + Lane)...);
    }

    Vector b0[Waves] = {};
    Vector b1[Waves] = {};
    Vector b2[Waves] = {};
    Vector a1[Waves] = {};
    Vector a2[Waves] = {};
    History live;   // of the lanes as they run
    History edges;  // of the stages before they enter and after they left
};

}  // namespace
}  // namespace quorvel
