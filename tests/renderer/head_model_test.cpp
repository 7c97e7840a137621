// The model of the head between the directions that were measured.
#include "dsp/surround/head_model.h"

#include <gtest/gtest.h>

#include "dsp/surround/head_renderer.h"
#include "tests/support/ear_measures.h"

namespace quorvel {
namespace {

struct Curve {
    double frequency, gainDb, q;
};
struct Row {
    double azimuth, gain;
    Curve nearEar[3], farEar[3];  // shelf (without a Q), peaks
};

void ExpectCurves(const EarCurve& curve, const Curve (&expected)[3], double azimuth) {
    EXPECT_NEAR(curve.shelfFrequency, expected[0].frequency, 1.0) << azimuth;
    EXPECT_NEAR(curve.shelfDb, expected[0].gainDb, 0.01) << azimuth;
    for (const int i : {0, 1}) {
        EXPECT_NEAR(curve.peaks[i].frequency, expected[i + 1].frequency, 1.0) << azimuth;
        EXPECT_NEAR(curve.peaks[i].gainDb, expected[i + 1].gainDb, 0.01) << azimuth;
        EXPECT_NEAR(curve.peaks[i].q, expected[i + 1].q, 0.01) << azimuth;
    }
}

// Calculated by hand from the table: decibels and gains linear, frequencies and Qs geometric.
TEST(HeadModel, LeadsStraightFromRowToRow) {
    const Row kRows[] = {{15,
                          0.6491,
                          {{410, 1.7, 0}, {2330, 1.95, 0.5}, {3100, -2.0, 1.8}},
                          {{980, -3.1, 0}, {1820, 0.8, 1.8}, {7200, -1.85, 1.8}}},
                         {60,
                          0.5,
                          {{434.3, 5.45, 0}, {2092.9, 0.0, 0.9487}, {3359.2, -5.65, 1.5875}},
                          {{1014.4, -12.35, 0}, {1484.0, 4.8, 1.2}, {5366.6, 0.25, 0.9487}}},
                         {100,
                          0.4245,
                          {{455.0, 7.15, 0}, {1948.7, -4.05, 1.8}, {3801.4, -7.65, 1.4}},
                          {{1506.0, -17.8, 0}, {1278.1, 5.85, 1.1314}, {2842.5, -1.75, 0.9487}}},
                         {130,
                          0.49,
                          {{687.4, 2.95, 0}, {1435.4, 0.45, 1.4697}, {5165.1, -6.85, 1.5875}},
                          {{1089.9, -12.9, 0}, {1532.6, 5.85, 1.1314}, {2034.9, -6.6, 1.8}}},
                         {165,
                          0.56,
                          {{766.8, -3.7, 0}, {1059.2, 6.1, 1.1489}, {5229.8, -1.1, 1.2}},
                          {{555.0, -7.6, 0}, {1383.5, 7.55, 0.9381}, {2888.5, -1.0, 1.2}}}};
    for (const Row& row : kRows) {
        for (const double azimuth : {row.azimuth, -row.azimuth}) {
            const HeadDirection direction = DirectionAt(azimuth);
            EXPECT_NEAR(direction.gain, row.gain, 1e-3);
            ExpectCurves(direction.nearEar, row.nearEar, azimuth);
            ExpectCurves(direction.farEar, row.farEar, azimuth);
        }
    }
}

TEST(HeadModel, TellsItsLevel) {
    constexpr std::size_t kLength = 8192;
    std::vector<float> in(kLength);
    in[0] = 1.9952623f;  // the renderer gives half
    for (double azimuth = 0.0; azimuth <= 180.0; azimuth += 7.5) {
        HeadRenderer renderer;
        const SoundSource source{0, azimuth};
        renderer.Place({&source, 1}, 1, 48000.0);
        std::vector<float> out(2 * kLength);
        renderer.Render(in.data(), out.data(), kLength);
        test::EarResponse ears;
        for (std::size_t i = 0; i < kLength; ++i) {
            ears.left.push_back(out[2 * i]);
            ears.right.push_back(out[2 * i + 1]);
        }
        EXPECT_NEAR(test::LoudnessDb(ears), LevelDbAt(azimuth), 0.5) << azimuth;
        EXPECT_EQ(LevelDbAt(-azimuth), LevelDbAt(azimuth));
    }
}

}  // namespace
}  // namespace quorvel
