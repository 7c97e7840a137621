#include "engine/sample_check.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/same_bits.h"

namespace quorvel {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Row {
    float sample;
    bool isSane;
    bool isFinite;
};
const Row kRows[] = {{0.0f, true, true},
                     {-0.0f, true, true},
                     {1e-45f, true, true},
                     {-1e-40f, true, true},
                     {-256.0f, true, true},
                     {std::nextafter(256.0f, 300.0f), false, true},
                     {-1e30f, false, true},
                     {std::numeric_limits<float>::max(), false, true},
                     {kInfinity, false, false},
                     {-kInfinity, false, false},
                     {std::bit_cast<float>(0x7F800001u), false, false},
                     {std::bit_cast<float>(0xFFFFFFFFu), false, false}};

TEST(SampleCheck, KnowsSaneAndFiniteSamplesAtEveryPlace) {
    for (const Row& row : kRows) {
        EXPECT_EQ(IsSane(row.sample), row.isSane) << row.sample;
        EXPECT_EQ(IsFinite(row.sample), row.isFinite) << row.sample;
        for (std::size_t count = 1; count <= 70; ++count) {
            std::vector<float> samples(count, -256.0f);
            for (float& place : samples) {
                place = row.sample;
                const auto size = static_cast<int64_t>(count);
                ASSERT_EQ(AreSane(samples.data(), size), row.isSane) << row.sample << " " << count;
                ASSERT_EQ(AreFinite(samples.data(), size), row.isFinite) << row.sample;
                place = -256.0f;
            }
        }
    }
    EXPECT_TRUE(AreSane(nullptr, 0));
}

TEST(SampleCheck, ReplacesWhatIsNotSaneAndNothingElse) {
    std::vector<float> samples, expected;
    for (const Row& row : kRows) {
        samples.push_back(row.sample);
        expected.push_back(row.isSane ? row.sample : 0.0f);
    }
    EXPECT_EQ(ReplaceInsane(samples.data(), static_cast<int64_t>(samples.size())), 7u);
    test::ExpectSameBits(samples, expected);
    EXPECT_EQ(ReplaceInsane(samples.data(), static_cast<int64_t>(samples.size())), 0u);
}

}  // namespace
}  // namespace quorvel
