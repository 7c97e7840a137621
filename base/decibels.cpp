#include "base/decibels.h"

#include "base/math/logarithm.h"
#include "base/math/power.h"

namespace quorvel {

float DbToLinear(float dB) {
    return static_cast<float>(math::Pow(10.0, static_cast<double>(dB / 20.0f)));
}

float LinearToDb(float x) {
    return static_cast<float>(math::Log10(static_cast<double>(x))) * 20.0f;
}

}  // namespace quorvel
