#include "dsp/routing/fold_down.h"

#include <gtest/gtest.h>

#include "tests/support/samples.h"

namespace quorvel {
namespace {

using namespace test;

constexpr float kA3 = 0.70794576f;
constexpr float kA6 = 0.50118721f;
constexpr float kOwn = 0.871f * kA3;
constexpr float kOther = 0.49f * kA3;

struct Matrix {
    uint32_t mask;
    std::vector<float> left, right;
    bool monoIsPlainSum = false;  // mono takes every channel at -6 dB, once
};

const std::vector<Matrix> kMatrices = {
    {0x4, {kA3}, {kA3}},
    {0x3, {1, 0}, {0, 1}, true},
    {0xB, {1, 0, 1}, {0, 1, 1}, true},
    {0x33, {1, 0, 1, 0}, {0, 1, 0, 1}, true},
    {0x107, {1, 0, kA3, kA3}, {0, 1, kA3, kA3}},
    {0x3F, {1, 0, kA3, 1, 1, 0}, {0, 1, kA3, 1, 0, 1}},
    {0x60F, {1, 0, kA3, 1, 1, 0}, {0, 1, kA3, 1, 0, 1}},
    {0xFF, {1, 0, kA3, 1, kOwn, kOther, kOwn, kOther}, {0, 1, kA3, 1, kOther, kOwn, kOther, kOwn}},
    {0x63F, {1, 0, kA3, 1, kOwn, kOther, kOwn, kOther}, {0, 1, kA3, 1, kOther, kOwn, kOther, kOwn}},
};

float MonoWeight(const Matrix& matrix, std::size_t channel) {
    if (matrix.mask == 0x4) return 1.0f;
    if (matrix.monoIsPlainSum) return kA6;
    return (matrix.left[channel] + matrix.right[channel]) * kA6;
}

// A lone 1.0 in each channel reads the matrix off. Products of up to three weights, rounded in
// another order than here: one unit in the last place of numbers up to 1.
TEST(FoldDown, UnitFramesGiveTheMatrix) {
    constexpr float kRounding = 1.2e-7f;
    for (const Matrix& matrix : kMatrices) {
        SCOPED_TRACE(matrix.mask);
        const FoldDown* mono = FindFoldDown(matrix.mask, 1);
        const FoldDown* stereo = FindFoldDown(matrix.mask, 2);
        ASSERT_TRUE(mono && stereo);
        ASSERT_EQ(mono->inputChannels, static_cast<int32_t>(matrix.left.size()));
        ASSERT_EQ(stereo->inputChannels, static_cast<int32_t>(matrix.left.size()));
        for (std::size_t c = 0; c < matrix.left.size(); ++c) {
            std::vector<float> in(matrix.left.size());
            in[c] = 1.0f;
            float out[2] = {};
            stereo->frame(in.data(), out);
            EXPECT_NEAR(out[0], matrix.left[c], kRounding) << "left of channel " << c;
            EXPECT_NEAR(out[1], matrix.right[c], kRounding) << "right of channel " << c;
            mono->frame(in.data(), out);
            EXPECT_NEAR(out[0], MonoWeight(matrix, c), kRounding) << "mono of channel " << c;
        }
    }
}

// Frames in which another order of the additions would lose or keep the small number.
TEST(FoldDown, AddsInItsDocumentedOrder) {
    constexpr float kBig = 1e8f;
    struct Case {
        uint32_t mask, width;
        std::vector<float> in, out;
    };
    const std::vector<Case> cases = {
        {0xB, 1, {1, kBig, -kBig}, {0}},
        {0xB, 1, {kBig, -kBig, 1}, {kA6}},
        {0x33, 1, {-kBig, 1, kBig, 0}, {kA6}},
        {0x33, 1, {-kBig, 0, kBig, 1}, {kA6}},
        {0x33, 1, {1, -kBig, kBig, 0}, {0}},
        {0x3F, 2, {kBig, kBig, 0, -kBig, 1, 1}, {1, 1}},
        {0x3F, 2, {1, 1, 0, kBig, -kBig, -kBig}, {0, 0}},
        {0x3F, 2, {1, 0, 1, 1, 0, 0}, {2.7079458f, 1.7079458f}},
        {0x63F, 2, {kBig, kBig, 0, -kBig, 1, 0, 0, 0}, {kA3 * 0.871f, kA3 * 0.49f}},
        {0x63F, 2, {kBig, 0, 0, -kBig, kBig, 0, 1 - kBig, 0}, {0, -kBig}},
    };
    for (const Case& testCase : cases) {
        SCOPED_TRACE(testing::PrintToString(testCase.in));
        std::vector<float> out(testCase.width);
        FindFoldDown(testCase.mask, testCase.width)->frame(testCase.in.data(), out.data());
        ExpectSameBits(out, testCase.out);
    }
}

TEST(FoldDown, OnlyListedMasksAndWidthsHaveRoutines) {
    for (const uint32_t mask : {0x0u, 0x1u, 0x3Bu, 0x70Fu, 0x7u, 0x103u, 0x63Eu, 0xFFFFFFFFu})
        EXPECT_TRUE(!FindFoldDown(mask, 1) && !FindFoldDown(mask, 2)) << mask;
    for (const uint32_t width : {0u, 3u, 8u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(FindFoldDown(0x63F, width), nullptr) << width;
}

// The whole block against the plain definition frame by frame, also with frames wider than the
// routine reads.
TEST(FoldDown, BlocksEqualThePlainDefinition) {
    const auto compare = [](const FoldDown& routine, int32_t frames, int32_t stride) {
        SCOPED_TRACE(testing::Message() << routine.mask << " to " << routine.outputChannels << ", "
                                        << frames << " frames");
        const auto in = RandomSamples(static_cast<std::size_t>(frames * stride), routine.mask);
        std::vector<float> expected(static_cast<std::size_t>(frames * routine.outputChannels));
        for (int32_t f = 0; f < frames; ++f)
            routine.frame(in.data() + f * stride, expected.data() + f * routine.outputChannels);
        ExpectInPlaceOrNot(in, expected, [&](const float* from, float* to) {
            FoldFrames(routine, from, to, frames, static_cast<uint32_t>(stride));
        });
    };
    for (const Matrix& matrix : kMatrices) {
        for (const uint32_t width : {1u, 2u}) {
            const FoldDown& routine = *FindFoldDown(matrix.mask, width);
            for (const int32_t frames : {0, 1, 2, 3, 4, 5, 7, 8, 31, 480}) {
                for (const int32_t extra : {0, 1, 3})
                    compare(routine, frames, routine.inputChannels + extra);
            }
        }
    }
}

TEST(FoldDown, NarrowFramesAndNoFramesWriteNothing) {
    const FoldDown& routine = *FindFoldDown(0x63F, 2);
    const std::vector<float> in(16, 1.0f);
    std::vector<float> out(4, kUntouched);
    FoldFrames(routine, in.data(), out.data(), 2, 7);
    FoldFrames(routine, in.data(), out.data(), -1, 8);
    ExpectSameBits(out, std::vector<float>(4, kUntouched));
}

}  // namespace
}  // namespace quorvel
