// A computer with the headset plugged in: what the audio engine and the objects that it makes find
// around them.
#pragma once

#include <string>

#include "platform/simulation/driver/simulated_driver.h"
#include "platform/simulation/machine/simulated_machine.h"

namespace quorvel::simulation {

// The machine, the driver behind its device interface and an endpoint for each direction. The
// driver's clock is the machine's. One at a time.
class SimulatedHeadset {
  public:
    // Throws std::bad_alloc, and what SimulatedMachine and SimulatedDriver throw.
    explicit SimulatedHeadset(DeviceAnswers answers = {});

    // The path of the driver's device interface.
    static const std::u16string& DriverPath();

    // The devices that the engine hands to an object of that direction; a reference is the
    // caller's.
    IMMDeviceCollection* NewDevices(bool isOutput) const;

    // Starts a program; the driver hears of it.
    void StartProgram(DWORD process, std::u16string path);

    // Lays the engine's call stack out as it is while it makes an object of class `object` for a
    // stream of that process.
    void EnterEngine(const CLSID& object, DWORD process);

    SimulatedMachine machine;
    SimulatedDriver driver;

  private:
    EndpointNumber output;
    EndpointNumber input;
};

}  // namespace quorvel::simulation
