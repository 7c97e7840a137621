#include "engine/channel_rows.h"

#include <array>
#include <cstddef>
#include <utility>

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
