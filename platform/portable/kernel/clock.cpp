#include "platform/clock.h"

#include <chrono>

#include "platform/portable/devices/machine.h"

namespace quorvel::platform {

std::int64_t SecondsSinceEpoch() {
    const Machine machine;
    if (machine->clock) return *machine->clock;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

}  // namespace quorvel::platform
