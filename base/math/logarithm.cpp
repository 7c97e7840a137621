#include "base/math/logarithm.h"

#include <limits>

#include "base/math/logarithm_lanes.h"
#include "base/math/precise_logarithm.h"

namespace quorvel::math {

double Log(double x) QUORVEL_REAL_TIME {
    return LogLanes(x);
}

double Log10(double x) QUORVEL_REAL_TIME {
    constexpr DoubleDouble kOneOverLn10 = {0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57};
    const bool isRegular = x > 0.0 && x <= std::numeric_limits<double>::max();
    if (!isRegular) return Log(x);
    return Product(PreciseLog(x), kOneOverLn10).high;
}

}  // namespace quorvel::math
