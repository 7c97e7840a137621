// Amplitudes over the decoder's outputs.
#pragma once

#include <cmath>

#include "dsp/biquad/biquad_lanes.h"

namespace quorvel {

// One amplitude an output. Plain data.
struct SpeakerImage {
    float front[4] = {};  // left, right, centre, none
    float rear[4] = {};   // side left, side right, back left, back right
};

namespace {

// The same in vectors, to calculate with.
struct ImageLanes {
    FourLanes front{};
    FourLanes rear{};
};

inline ImageLanes ReadImage(const SpeakerImage& image) {
    return {ReadFour<4>(image.front), ReadFour<4>(image.rear)};
}

inline void WriteImage(const ImageLanes& lanes, SpeakerImage& image) {
    WriteFour<4>(lanes.front, image.front);
    WriteFour<4>(lanes.rear, image.rear);
}

inline ImageLanes operator*(const ImageLanes& image, float factor) {
    return {image.front * factor, image.rear * factor};
}

inline ImageLanes operator+(const ImageLanes& a, const ImageLanes& b) {
    return {a.front + b.front, a.rear + b.rear};
}

inline ImageLanes operator-(const ImageLanes& a, const ImageLanes& b) {
    return {a.front - b.front, a.rear - b.rear};
}

// Left and right are added first: the sum is that of the mirrored images, bit for bit.
inline float Dot(const ImageLanes& a, const ImageLanes& b) {
    const FourLanes front = a.front * b.front, rear = a.rear * b.rear;
    return ((front[0] + front[1]) + front[2]) + ((rear[0] + rear[1]) + (rear[2] + rear[3]));
}

// The image at power 1. One without power stays so.
inline ImageLanes Unit(const ImageLanes& image) {
    constexpr float kLeastPower = 1e-12f;
    const float power = Dot(image, image);
    return image * (1.0f / std::sqrt(power > kLeastPower ? power : kLeastPower));
}

}  // namespace
}  // namespace quorvel
