#include "dsp/routing/stream_expansion.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "base/float_quad.h"
#include "dsp/routing/fold_down_weights.h"

namespace quorvel {
namespace {

using fold_down::kMinus3Db;
constexpr int32_t kWidest = 8;  // widest frame that has a function of its own

// An output frame of up to eight channels.
struct WideFrame {
    Quad low{};
    Quad high{};
};

// What the three expansions make of an input frame.

template <int32_t kIn, int32_t>
WideFrame ZeroFilled(const float* in) {
    WideFrame frame;
    frame.low = LoadLanes<std::min(kIn, 4)>(in);
    if constexpr (kIn > 4) frame.high = LoadLanes<kIn - 4>(in + 4);
    return frame;
}

template <int32_t, int32_t>
WideFrame Copied(const float* in) {
    const Quad copies = {in[0], in[0], in[0], in[0]};
    return {copies, copies};
}

template <int32_t, int32_t kOut>
WideFrame Paired(const float* in) {
    const float sample = kOut == 1 ? in[0] : in[0] * kMinus3Db;
    return {Quad{sample, sample, 0.0f, 0.0f}, Quad{}};
}

// Widens from the last frame to the first, each held in registers between reading and writing.
template <int32_t kIn, int32_t kOut, WideFrame (*kExpand)(const float*)>
void Widen(const float* in, float* out, int32_t frames) {
    for (std::ptrdiff_t f = frames - 1; f >= 0; --f) {
        const WideFrame frame = kExpand(in + f * kIn);
        StoreLanes<std::min(kOut, 4)>(out + f * kOut, frame.low);
        if constexpr (kOut > 4) StoreLanes<kOut - 4>(out + f * kOut + 4, frame.high);
    }
}

using WidenFrames = void (*)(const float*, float*, int32_t);
using WidenTable = std::array<WidenFrames, kWidest>;  // by output width - 1

template <int32_t kIn, int32_t kOut>
constexpr WidenFrames ZeroFillOf() {
    if constexpr (kIn > kOut) {
        return nullptr;
    } else {
        return Widen<kIn, kOut, ZeroFilled<kIn, kOut>>;
    }
}

template <int32_t kIn, int32_t... kOut>
constexpr WidenTable ZeroFillRow(std::integer_sequence<int32_t, kOut...>) {
    return {ZeroFillOf<kIn, kOut + 1>()...};
}

template <int32_t... kIn>
constexpr std::array<WidenTable, kWidest> ZeroFillTable(std::integer_sequence<int32_t, kIn...> w) {
    return {ZeroFillRow<kIn + 1>(w)...};
}

template <int32_t... kOut>
constexpr WidenTable MonoToAllTable(std::integer_sequence<int32_t, kOut...>) {
    return {Widen<1, kOut + 1, Copied<1, kOut + 1>>...};
}

template <int32_t... kOut>
constexpr WidenTable MonoToStereoTable(std::integer_sequence<int32_t, kOut...>) {
    return {Widen<1, kOut + 1, Paired<1, kOut + 1>>...};
}

using Widths = std::make_integer_sequence<int32_t, kWidest>;
constexpr std::array kZeroFill = ZeroFillTable(Widths{});  // by input width - 1
constexpr WidenTable kMonoToAll = MonoToAllTable(Widths{});
constexpr WidenTable kMonoToStereo = MonoToStereoTable(Widths{});

// The function for those widths; null when there is none of its own. Widths are positive.
WidenFrames FindWidening(ExpandFrame expand, int32_t inWidth, int32_t outWidth) {
    if (outWidth > kWidest || inWidth > outWidth) return nullptr;
    const auto in = static_cast<std::size_t>(inWidth - 1);
    const auto out = static_cast<std::size_t>(outWidth - 1);
    if (expand == ExpandZeroFill) return kZeroFill[in][out];
    if (inWidth != 1) return nullptr;
    return expand == ExpandMonoToAll ? kMonoToAll[out] : kMonoToStereo[out];
}

}  // namespace

void ExpandZeroFill(const float* in, float* out, int32_t outWidth, std::size_t inBytes) {
    if (outWidth <= 0) return;
    const std::size_t outBytes = sizeof(float) * static_cast<std::size_t>(outWidth);
    const std::size_t kept = std::min(inBytes, outBytes);
    std::memmove(out, in, kept);
    std::fill(out + kept / sizeof(float), out + outWidth, 0.0f);
}

void ExpandMonoToAll(const float* in, float* out, int32_t outWidth, std::size_t) {
    if (outWidth > 0) std::fill_n(out, outWidth, float{in[0]});
}

void ExpandMonoToStereo(const float* in, float* out, int32_t outWidth, std::size_t) {
    if (outWidth <= 0) return;
    const float sample = in[0];
    if (outWidth == 1) {
        out[0] = sample;
        return;
    }
    out[0] = out[1] = sample * kMinus3Db;
    std::fill(out + 2, out + outWidth, 0.0f);
}

void ExpandFramesPlain(ExpandFrame expand, const float* in, float* out, int32_t frames,
                       int32_t inWidth, int32_t outWidth) QUORVEL_REAL_TIME {
    if (inWidth <= 0 || outWidth <= 0) return;
    const std::size_t inBytes = sizeof(float) * static_cast<std::size_t>(inWidth);
    const bool backward = outWidth >= inWidth;
    for (int32_t i = 0; i < frames; ++i) {
        const std::ptrdiff_t f = backward ? frames - 1 - i : i;
        expand(in + f * inWidth, out + f * outWidth, outWidth, inBytes);
    }
}

void ExpandFrames(ExpandFrame expand, const float* in, float* out, int32_t frames, int32_t inWidth,
                  int32_t outWidth) QUORVEL_REAL_TIME {
    if (inWidth <= 0 || outWidth <= 0) return;
    if (const WidenFrames widen = FindWidening(expand, inWidth, outWidth)) {
        widen(in, out, frames);
        return;
    }
    ExpandFramesPlain(expand, in, out, frames, inWidth, outWidth);
}

}  // namespace quorvel
