#include "dsp/surround/passive_matrix.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvel {
namespace {

// Whatever the options, both images have power 1 and are orthogonal, and left and right mirror each
// other: a rear pair shows what is in anti-phase in phase, and a surround pair keeps its polarity.
TEST(PassiveMatrix, KeepsThePowerOfAnyPair) {
    using enum DecoderOutputs;
    for (const DecoderOutputs outputs : {All, FrontAndSides, FrontAndBacks}) {
        for (const uint32_t code : {2u, 3u, 7u}) {
            for (uint32_t flags = 0; flags < 0x1000; flags += 2) {
                const auto modeWord = static_cast<uint16_t>(0x2000 | code << 5 | 25);
                const auto [left, right] = MakePassiveMatrix(
                    ReadDecoderOptions(modeWord, static_cast<uint16_t>(flags), outputs));
                const ImageLanes l = ReadImage(left), r = ReadImage(right);
                ASSERT_NEAR(Dot(l, l), 1.0f, 1e-6f) << code << ", " << flags;
                ASSERT_NEAR(Dot(r, r), 1.0f, 1e-6f) << code << ", " << flags;
                ASSERT_NEAR(Dot(l, r), 0.0f, 1e-6f) << code << ", " << flags;
                const float sign = outputs == All ? -1.0f : 1.0f;
                ASSERT_EQ(left.front[0], right.front[1]);
                for (const int pair : {0, 2}) {
                    ASSERT_EQ(left.rear[pair], sign * right.rear[pair + 1]);
                    ASSERT_EQ(left.rear[pair + 1], sign * right.rear[pair]);
                }
            }
        }
    }
}

}  // namespace
}  // namespace quorvel
