#include "engine/decibels.h"

#include <cmath>

namespace quorvel {

float DbToLinear(float dB) {
    return static_cast<float>(std::pow(10.0, static_cast<double>(dB / 20.0f)));
}

float LinearToDb(float x) {
    return static_cast<float>(std::log10(static_cast<double>(x))) * 20.0f;
}

}  // namespace quorvel
