#include "platform/portable/devices/machine_faults.h"

namespace quorvel::platform {

void MachineFaults::Add(MachineStep step, DWORD error, std::size_t skip, std::size_t times) {
    plans.push_back({step, error, skip, times});
}

DWORD MachineFaults::Take(MachineStep step) {
    ++calls[static_cast<std::size_t>(step)];
    DWORD error = 0;
    for (Plan& plan : plans) {
        if (plan.step != step) continue;
        if (plan.skip > 0) {
            --plan.skip;
        } else if (plan.times > 0 && error == 0) {
            if (plan.times != kAlways) --plan.times;
            error = plan.error;
        }
    }
    return error;
}

}  // namespace quorvel::platform
