// What a machine is told to fail at.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "platform/portable/kernel/types.h"

namespace quorvel::platform {

// The calls of Windows that can be told to fail.
enum class MachineStep {
    // Endpoints: the error is an HRESULT.
    kCreateEnumerator,
    kRegisterNotifications,
    kCountDevices,
    kTakeDevice,
    kOpenProperties,
    kReadProperty,
    // Device set-up: the first gives a CONFIGRET; the required size of a detail becomes 0.
    kLocateNode,
    kListInterfaces,
    kEnumerateInterface,
    kMeasureDetail,
    kReadDetail,
    // Processes and modules: Win32 codes, as all that follow.
    kOpenProcess,
    kReadMemory,
    kAskWow64,
    kNameModule,
    kSnapshotModules,
    // Debug help.
    kBeginSymbols,
    kLoadModule,
    kFindModule,
    kFindSymbol,
    kStackStep,
    kCount,
};

// Counts the calls of every step and says which of them fail. Guarded by the machine's lock.
class MachineFaults {
  public:
    static constexpr std::size_t kAlways = ~std::size_t{0};

    // From now on the next `skip` calls of `step` go on as ever, then `times` fail with `error`,
    // which must not be 0. Several plans count side by side; the first that applies decides. Throws
    // std::bad_alloc.
    void Add(MachineStep step, DWORD error, std::size_t skip = 0, std::size_t times = kAlways);

    // Forgets the plans, not the counts.
    void Clear() { plans.clear(); }

    // Counts a call; the error that it shall end with, or 0.
    DWORD Take(MachineStep step);

    std::size_t Calls(MachineStep step) const { return calls[static_cast<std::size_t>(step)]; }

  private:
    struct Plan {
        MachineStep step{};
        DWORD error = 0;
        std::size_t skip = 0;
        std::size_t times = 0;
    };

    std::vector<Plan> plans;
    std::array<std::size_t, static_cast<std::size_t>(MachineStep::kCount)> calls{};
};

}  // namespace quorvel::platform
