#include "dsp/surround/far_ear_delay.h"

#include <algorithm>
#include <cmath>

namespace quorvel {

void FarEarDelay::SetLag(double lag) {
    const double whole = std::max(1.0, std::floor(lag));
    const double d = lag - whole;
    taps[3] = static_cast<float>(-d * (d - 1.0) * (d - 2.0) / 6.0);
    taps[2] = static_cast<float>((d + 1.0) * (d - 1.0) * (d - 2.0) / 2.0);
    taps[1] = static_cast<float>(-(d + 1.0) * d * (d - 2.0) / 2.0);
    taps[0] = static_cast<float>((d + 1.0) * d * (d - 1.0) / 6.0);
    oldest = kRing - static_cast<int32_t>(whole) - 2;
}

}  // namespace quorvel
