#include "dsp/surround/band_matrix.h"

#include <algorithm>
#include <cmath>

#include "dsp/surround/steering.h"

namespace quorvel {
namespace {

// Below, the steering has no direction.
constexpr float kLeastLength = 1e-9f;

// Half of the angle of a direction: (cos φ/2, sin φ/2) with φ from -180° to 180°.
struct HalfAngle {
    explicit HalfAngle(SteeringDirection direction)
        : cosine(std::sqrt(std::max(0.5f + 0.5f * direction.x, 0.0f))),
          sine(std::copysign(std::sqrt(std::max(0.5f - 0.5f * direction.x, 0.0f)), direction.y)) {}

    float cosine;
    float sine;
};

void SetStep(const SpeakerImage& from, const ImageLanes& to, float share, SpeakerImage& step) {
    WriteImage((to - ReadImage(from)) * share, step);
}

template <int kLane>
FourLanes Spread(FourLanes lanes) {
    return __builtin_shufflevector(lanes, lanes, kLane, kLane, kLane, kLane);
}

}  // namespace

void BandMatrix::Rest(const PassiveMatrix& passive) {
    *this = BandMatrix{.left = passive.left, .right = passive.right};
}

void BandMatrix::Aim(const PassiveMatrix& passive, const SourceImageOptions& options, float x,
                     float y, int32_t frames, float pace) QUORVEL_REAL_TIME {
    const float length = std::sqrt(x * x + y * y);
    const SteeringDirection direction =
        length > kLeastLength ? SteeringDirection{x / length, y / length} : SteeringDirection{};
    const HalfAngle d(direction);
    const float weight = SmoothStep(length, 0.10f, 0.75f);
    const ImageLanes passiveLeft = ReadImage(passive.left), passiveRight = ReadImage(passive.right);
    ImageLanes along = passiveLeft * d.cosine + passiveRight * d.sine;
    if (weight > 0.0f) {
        const SpeakerImage source = MakeSourceImage(options, direction, d.cosine, d.sine);
        along = Unit(along * (1.0f - weight) + ReadImage(source) * weight);
    }
    const ImageLanes apart = passiveRight * d.cosine - passiveLeft * d.sine;
    const ImageLanes across = Unit(apart - along * Dot(along, apart));

    const float share = pace / static_cast<float>(frames);
    SetStep(left, along * d.cosine - across * d.sine, share, leftStep);
    SetStep(right, along * d.sine + across * d.cosine, share, rightStep);
}

void BandMatrix::Apply(const BandFrame* frames, SpeakerImage* outputs,
                       int32_t count) QUORVEL_REAL_TIME {
    ImageLanes fromLeft = ReadImage(left), fromRight = ReadImage(right);
    const ImageLanes leftChange = ReadImage(leftStep), rightChange = ReadImage(rightStep);
    for (int32_t f = 0; f < count; ++f) {
        const FourLanes x = ReadFour<4>(frames[f]);
        const FourLanes front = fromLeft.front * Spread<0>(x) + fromRight.front * Spread<1>(x);
        const FourLanes rear = fromLeft.rear * Spread<2>(x) + fromRight.rear * Spread<3>(x);
        WriteImage(ReadImage(outputs[f]) + ImageLanes{front, rear}, outputs[f]);
        fromLeft = fromLeft + leftChange;
        fromRight = fromRight + rightChange;
    }
    WriteImage(fromLeft, left);
    WriteImage(fromRight, right);
}

}  // namespace quorvel
