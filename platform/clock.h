// The time of day.
#pragma once

#include <cstdint>

namespace quorvel::platform {

// Seconds since 1970, UTC. Off Windows the simulated machine's clock while one says so.
std::int64_t SecondsSinceEpoch();

}  // namespace quorvel::platform
