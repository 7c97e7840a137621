#include "platform/clock.h"

#include <ctime>

namespace quorvel::platform {

std::int64_t SecondsSinceEpoch() {
    return std::time(nullptr);
}

}  // namespace quorvel::platform
