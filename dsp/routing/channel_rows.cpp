#include "dsp/routing/channel_rows.h"

#include <array>
#include <cstddef>
#include <utility>

#include "base/float_quad.h"

namespace quorvel {
namespace {

using Rows = void (*)(const float*, int32_t, float*, int32_t, int32_t);

// `kFixedWidth` is the width when the compiler shall know it, else 0. `kAdd` tells AddRows from
// PutRows. That the buffers do not overlap is what lets a frame be moved as a whole.
template <int32_t kFixedWidth, bool kAdd>
void MoveRows(const float* __restrict in, int32_t anyWidth, float* __restrict out, int32_t stride,
              int32_t frames) {
    const int32_t width = kFixedWidth ? kFixedWidth : anyWidth;
    for (int32_t f = 0; f < frames; ++f, in += width, out += stride) {
        for (int32_t c = 0; c < width; ++c)
            out[c] = in[c] + (kAdd ? out[c] : 0.0f);
    }
}

Quad UpperPair(Quad quad) {
    return __builtin_shufflevector(quad, quad, 2, 3, 2, 3);
}

// One function a width up to 8; entry 0 takes any width.
template <bool kAdd, int32_t... kWidths>
constexpr std::array<Rows, sizeof...(kWidths)> RowsTable(
    std::integer_sequence<int32_t, kWidths...>) {
    return {MoveRows<kWidths, kAdd>...};
}

using Widths = std::make_integer_sequence<int32_t, 9>;
constexpr std::array kPut = RowsTable<false>(Widths{});
constexpr std::array kAdd = RowsTable<true>(Widths{});

Rows RowsOf(const std::array<Rows, 9>& table, int32_t width) {
    const auto index = static_cast<std::size_t>(width);
    return index < table.size() ? table[index] : table[0];
}

}  // namespace

void PutRows(const float* in, int32_t width, float* out, int32_t stride,
             int32_t frames) QUORVEL_REAL_TIME {
    if (width > 0) RowsOf(kPut, width)(in, width, out, stride, frames);
}

// Four frames at a time; the low and high halves of the interleaved quads are frames.
void PutTwoColumns(const std::array<const float*, 2>& ins, float* out, int32_t stride,
                   int32_t frames) QUORVEL_REAL_TIME {
    const auto [a, b] = ins;
    const std::ptrdiff_t step = stride;
    int32_t f = 0;
    for (; f + 4 <= frames; f += 4, out += 4 * step) {
        const Quad first = LoadQuad(a + f) + 0.0f, second = LoadQuad(b + f) + 0.0f;
        const Quad low = __builtin_shufflevector(first, second, 0, 4, 1, 5);
        const Quad high = __builtin_shufflevector(first, second, 2, 6, 3, 7);
        StoreLanes<2>(out, low);
        StoreLanes<2>(out + step, UpperPair(low));
        StoreLanes<2>(out + 2 * step, high);
        StoreLanes<2>(out + 3 * step, UpperPair(high));
    }
    for (; f < frames; ++f, out += step) {
        out[0] = a[f] + 0.0f;
        out[1] = b[f] + 0.0f;
    }
}

// Four frames at a time, transposed.
void PutFourColumns(const std::array<const float*, 4>& ins, float* out, int32_t stride,
                    int32_t frames) QUORVEL_REAL_TIME {
    const auto [a, b, c, d] = ins;
    const std::ptrdiff_t step = stride;
    int32_t f = 0;
    for (; f + 4 <= frames; f += 4, out += 4 * step) {
        const Quad left = LoadQuad(a + f) + 0.0f, right = LoadQuad(b + f) + 0.0f;
        const Quad third = LoadQuad(c + f) + 0.0f, fourth = LoadQuad(d + f) + 0.0f;
        const Quad lowLeft = __builtin_shufflevector(left, right, 0, 4, 1, 5);
        const Quad highLeft = __builtin_shufflevector(left, right, 2, 6, 3, 7);
        const Quad lowRight = __builtin_shufflevector(third, fourth, 0, 4, 1, 5);
        const Quad highRight = __builtin_shufflevector(third, fourth, 2, 6, 3, 7);
        StoreQuad(out, __builtin_shufflevector(lowLeft, lowRight, 0, 1, 4, 5));
        StoreQuad(out + step, __builtin_shufflevector(lowLeft, lowRight, 2, 3, 6, 7));
        StoreQuad(out + 2 * step, __builtin_shufflevector(highLeft, highRight, 0, 1, 4, 5));
        StoreQuad(out + 3 * step, __builtin_shufflevector(highLeft, highRight, 2, 3, 6, 7));
    }
    for (; f < frames; ++f, out += step) {
        for (std::size_t column = 0; column < ins.size(); ++column)
            out[column] = ins[column][f] + 0.0f;
    }
}

void PutTwoPairs(const std::array<const float*, 2>& ins, float* out, int32_t stride,
                 int32_t frames) QUORVEL_REAL_TIME {
    const auto [a, b] = ins;
    for (std::ptrdiff_t f = 0; f < frames; ++f, out += stride)
        StoreQuad(out, LoadPairs(a + 2 * f, b + 2 * f) + 0.0f);
}

void AddRows(const float* in, int32_t width, float* out, int32_t stride,
             int32_t frames) QUORVEL_REAL_TIME {
    if (width > 0) RowsOf(kAdd, width)(in, width, out, stride, frames);
}

void AddRowsPlain(const float* in, int32_t width, float* out, int32_t stride,
                  int32_t frames) QUORVEL_REAL_TIME {
    if (width <= 0) return;
    for (int32_t f = 0; f < frames; ++f, in += width, out += stride) {
        for (int32_t c = 0; c < width; ++c)
            out[c] = in[c] + out[c];
    }
}

}  // namespace quorvel
