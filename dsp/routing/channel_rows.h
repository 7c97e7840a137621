// Placing the frames of one stream among the channels of a wider one.
#pragma once

#include <array>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// Of `frames` frames, `width` floats each, float c of frame f meets out[f * stride + c]. The width
// is at most the stride; nothing happens when it or `frames` is not positive. Sums are single
// precision. But for the last one, the buffers must not overlap.

// out = in + 0.0, as if `out` had been cleared before: what it held does not matter.
void PutRows(const float* in, int32_t width, float* out, int32_t stride,
             int32_t frames) QUORVEL_REAL_TIME;

// PutRows for two or four inputs of width 1 on neighbouring channels, `ins[0]` on the first.
void PutTwoColumns(const std::array<const float*, 2>& ins, float* out, int32_t stride,
                   int32_t frames) QUORVEL_REAL_TIME;
void PutFourColumns(const std::array<const float*, 4>& ins, float* out, int32_t stride,
                    int32_t frames) QUORVEL_REAL_TIME;

// The same for two inputs of width 2.
void PutTwoPairs(const std::array<const float*, 2>& ins, float* out, int32_t stride,
                 int32_t frames) QUORVEL_REAL_TIME;

// out = in + out.
void AddRows(const float* in, int32_t width, float* out, int32_t stride,
             int32_t frames) QUORVEL_REAL_TIME;

// The plain definition of AddRows, sample by sample in ascending order; the buffers may overlap.
void AddRowsPlain(const float* in, int32_t width, float* out, int32_t stride,
                  int32_t frames) QUORVEL_REAL_TIME;

}  // namespace quorvel
