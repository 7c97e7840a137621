#include "engine/sample_check.h"

#include "base/float_quad.h"

namespace quorvel {
namespace {

constexpr uint32_t kSign = 0x80000000u;

using Bits = uint32_t __attribute__((vector_size(16)));

// Its sign bit is set while the magnitude bits m of `bits` are not above `loudest`: the 32-bit sum
// (2^31 + m) + (2^31 - 1 - loudest) keeps the bit exactly while m <= loudest. The conjunction of
// sums keeps it while each of them does.
template <typename Word>
Word SumWithin(Word bits, uint32_t loudest) {
    return (bits | kSign) + (kSign - 1 - loudest);
}

// Whether no magnitude is above `loudest`: four vector operations for four samples.
bool AreWithin(const float* samples, int64_t count, uint32_t loudest) {
    constexpr int64_t kStretch = 32;  // unrolled
    constexpr int64_t kLanes = 4;
    Bits lanes = {kSign, kSign, kSign, kSign};
    int64_t i = 0;
    for (; i + kStretch <= count; i += kStretch) {
        for (int64_t j = 0; j < kStretch; j += kLanes)
            lanes &= SumWithin(reinterpret_cast<Bits>(LoadQuad(samples + i + j)), loudest);
    }
    uint32_t all = lanes[0] & lanes[1] & lanes[2] & lanes[3];
    for (; i < count; ++i)
        all &= SumWithin(std::bit_cast<uint32_t>(samples[i]), loudest);
    return (all & kSign) != 0;
}

}  // namespace

bool AreFinite(const float* samples, int64_t count) QUORVEL_REAL_TIME {
    constexpr uint32_t kLargestFinite = 0x7F7FFFFFu;
    return AreWithin(samples, count, kLargestFinite);
}

bool AreSane(const float* samples, int64_t count) QUORVEL_REAL_TIME {
    return AreWithin(samples, count, MagnitudeBits(kLoudestInput));
}

uint64_t ReplaceInsane(float* samples, int64_t count) QUORVEL_REAL_TIME {
    if (AreSane(samples, count)) return 0;
    uint64_t replaced = 0;
    for (int64_t i = 0; i < count; ++i) {
        if (IsSane(samples[i])) continue;
        samples[i] = 0.0f;
        ++replaced;
    }
    return replaced;
}

}  // namespace quorvel
