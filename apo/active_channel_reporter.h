// Reports the channels in use from a thread of its own, so that the real-time thread never waits
// for who is told.
#pragma once

#include <cstdint>
#include <functional>

#include "apo/mask_queue.h"
#include "platform/unique_handle.h"
#include "platform/windows_api.h"

namespace quorvel {

// Every change is reported, in order, within about kPeriodMs unless `report` takes longer:
// MaskQueue says what happens when more than its room wait. The thread looks for changes by itself,
// since waking it would be a system call of the real-time thread.
//
// Add belongs to the real-time thread; everything else to control threads, one at a time. Add does
// not run at the same time as Stop.
class ActiveChannelReporter {
  public:
    // Called on the reporter's thread; may wait.
    using Report = std::function<void(std::uint32_t mask)>;

    explicit ActiveChannelReporter(Report reportMask) : report(std::move(reportMask)) {}
    ActiveChannelReporter(const ActiveChannelReporter&) = delete;
    ActiveChannelReporter& operator=(const ActiveChannelReporter&) = delete;
    ~ActiveChannelReporter() { Stop(); }

    // Starts the thread unless it runs. A Win32 error when the system has none to give.
    DWORD Start();

    // Reports what waits, and ends the thread. Returns when `report` has returned.
    void Stop();

    void Add(std::uint32_t mask) QUORVEL_REAL_TIME { masks.Add(mask); }

  private:
    static constexpr DWORD kPeriodMs = 10;

    static DWORD WINAPI Run(void* reporter);
    void ReportAll();

    const Report report;
    MaskQueue masks;
    platform::UniqueHandle stopEvent;  // manual-reset, made by the first Start
    platform::UniqueHandle thread;     // empty when none runs
};

}  // namespace quorvel
