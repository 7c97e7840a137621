// The endpoint objects of a simulated machine, as the multimedia device interfaces show them.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "platform/simulation/machine/simulated_machine.h"

namespace quorvel::simulation {

// The endpoints of a machine and what clients hold of them; the objects share it, so it outlives
// the machine while one of them lives. Endpoints are only ever added. Guarded by the machine's lock
// where not said otherwise.
class EndpointTable {
  public:
    explicit EndpointTable(std::shared_ptr<platform::MachineState> machineState)
        : state(std::move(machineState)) {}

    // The HRESULT that a call shall fail with, or S_OK. Takes the lock.
    HRESULT Fault(platform::MachineStep step) const;

    const std::shared_ptr<platform::MachineState> state;
    std::vector<std::shared_ptr<const EndpointDescription>> endpoints;
    std::vector<IMMNotificationClient*> clients;  // no references: they live until they unregister
    std::atomic<std::size_t> liveObjects = 0;     // any thread
};

using SharedEndpoints = std::vector<std::shared_ptr<const EndpointDescription>>;

// Both give a reference to the caller, and throw std::bad_alloc.
IMMDeviceCollection* MakeCollection(std::shared_ptr<EndpointTable> table, SharedEndpoints members);
IMMDeviceEnumerator* MakeEnumerator(std::shared_ptr<EndpointTable> table);

}  // namespace quorvel::simulation
