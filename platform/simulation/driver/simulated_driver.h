// The headset's driver behind a device file of this process: what a client opens by path.
#pragma once

#include <memory>
#include <string>

#include "platform/simulation/driver/driver_core.h"

namespace quorvel::simulation {

// Puts a driver core behind `path` for its lifetime. Every file opened there is a client of its own
// with the rights of its handle; its control requests are carried out on the calling thread, its
// reads pend until events come. A silent answer keeps its request pending, and its client's reads
// unanswered, until EndSilence or the removal. The event "Global\" + answers.removalEventName
// exists as long as the driver, a file of it or a handle to it; the removal signals it. A driver
// that follows another under the same name begins unsignalled. Two drivers at a time need different
// paths and names.
//
// Any thread may call any method; the object itself is made and ended by one thread. Locks: those
// of the read queues and of the device are not held together, nor while the core is called; under
// them nothing but the kernel lock is taken.
class SimulatedDriver {
  public:
    // Throws std::bad_alloc, and std::invalid_argument when there can be no event of that name.
    explicit SimulatedDriver(std::u16string devicePath, DeviceAnswers answers = {},
                             DriverClock clock = {});

    // Takes the path away, then removes the device. Files that are open may be closed later.
    ~SimulatedDriver();

    SimulatedDriver(const SimulatedDriver&) = delete;
    SimulatedDriver& operator=(const SimulatedDriver&) = delete;

    // What the driver stores, how it is told to misbehave, and what came to it.
    DriverCore& Core();

    // Whether every client that reads events waits for more: all that happened so far has been
    // heard and dealt with.
    bool IsHeard();

    // Signals the removal event and leaves the device as it is: who listens asks itself whether to
    // let the device go.
    void AnnounceRemoval();

    // The device goes away at once: requests and reads fail with status::kDeviceRemoved, opening
    // finds nothing (ERROR_FILE_NOT_FOUND), and the removal event is signalled. A listener that is
    // busy then meets the failing read before the event, and is not asked.
    void Remove() { Core().Remove(); }

  private:
    class Device;
    class File;

    const std::u16string path;
    const std::shared_ptr<Device> device;
};

}  // namespace quorvel::simulation
