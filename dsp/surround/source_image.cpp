#include "dsp/surround/source_image.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "base/math/arctangent.h"
#include "base/math/trigonometry.h"

namespace quorvel {
namespace {

constexpr float kWrap = 0.55f;
constexpr float kRightAngle = std::numbers::pi_v<float> / 2.0f;
constexpr float kDiagonal = std::numbers::sqrt2_v<float> / 2.0f;

// A place on a rear arc, for the left half. `angle` in degrees from the front's edge.
struct Knot {
    float angle;
    FourLanes amplitudes;  // front, side, back, back of the other half
};
constexpr FourLanes kFront = {1.0f, 0.0f, 0.0f, 0.0f};
constexpr FourLanes kSide = {0.0f, 1.0f, 0.0f, 0.0f};
constexpr FourLanes kSideAndBack = {0.0f, kDiagonal, kDiagonal, 0.0f};
constexpr FourLanes kBack = {0.0f, 0.0f, 1.0f, 0.0f};
constexpr FourLanes kBothBacks = {0.0f, 0.0f, kDiagonal, kDiagonal};

constexpr Knot kClassicArc[] = {{0.0f, kFront}, {90.0f, kBothBacks}};
constexpr Knot kBackOnlyArc[] = {{0.0f, kFront}, {58.7f, kBack}, {90.0f, kBothBacks}};
constexpr Knot kSurroundArc[] = {
    {0.0f, kFront}, {35.0f, kSide}, {58.7f, kSideAndBack}, {90.0f, kBothBacks}};

std::span<const Knot> ArcOf(const SourceImageOptions& options) {
    if (options.mode == DecoderMode::Classic) return kClassicArc;
    if (options.hasBackPairOnly) return kBackOnlyArc;
    return kSurroundArc;
}

// Amplitudes at `angle` degrees, 0 to 90: the rear arc's left half.
FourLanes OnArc(std::span<const Knot> arc, float angle) {
    std::size_t next = 1;
    while (next + 1 < arc.size() && angle > arc[next].angle)
        ++next;
    const Knot &from = arc[next - 1], &to = arc[next];
    const double way = (angle - from.angle) / (to.angle - from.angle) * kRightAngle;
    const auto ofFrom = static_cast<float>(math::Cos(way));
    const auto ofTo = static_cast<float>(math::Sin(way));
    return from.amplitudes * ofFrom + to.amplitudes * ofTo;
}

SpeakerImage FrontImage(const SourceImageOptions& options, SteeringDirection direction, float left,
                        float right) {
    const float narrow = 1.0f - options.spread;
    return {.front = {options.spread * left + narrow * std::max(direction.x, 0.0f),
                      options.spread * right + narrow * std::max(-direction.x, 0.0f),
                      narrow * direction.y, 0.0f}};
}

SpeakerImage RearImage(const SourceImageOptions& options, SteeringDirection direction) {
    constexpr float kDegrees = 90.0f / kRightAngle;
    const double radians = math::Atan2(-double{direction.y}, std::fabs(double{direction.x}));
    const float angle = static_cast<float>(radians) * kDegrees;
    const FourLanes on = OnArc(ArcOf(options), angle);
    if (direction.x >= 0.0f)
        return {.front = {on[0], 0.0f, 0.0f, 0.0f}, .rear = {on[1], 0.0f, on[2], on[3]}};
    return {.front = {0.0f, -on[0], 0.0f, 0.0f}, .rear = {0.0f, on[1], on[3], on[2]}};
}

}  // namespace

SourceImageOptions MakeSourceImageOptions(const DecoderOptions& options) {
    return {.mode = options.mode,
            .hasBackPairOnly = options.hasBackPairOnly,
            .keepsPanning = options.keepsPanning,
            .wrap = options.wraps ? kWrap : 0.0f,
            .spread = static_cast<float>(options.spread)};
}

SpeakerImage MakeSourceImage(const SourceImageOptions& options, SteeringDirection direction,
                             float left, float right) {
    SpeakerImage image = options.keepsPanning || direction.y >= 0.0f
                             ? FrontImage(options, direction, left, right)
                             : RearImage(options, direction);
    // The signs are those of ambience: a rear pair has left and minus right.
    image.rear[0] += options.wrap * image.front[0];
    image.rear[1] -= options.wrap * image.front[1];
    WriteImage(Unit(ReadImage(image)), image);
    return image;
}

}  // namespace quorvel
