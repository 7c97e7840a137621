// The computer around the audio processing objects: devices, endpoints, the audio engine's process
// with its modules, memory and call stack, the system's version, environment and clock.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/portable/devices/machine.h"
#include "platform/windows_api.h"

namespace quorvel::simulation {

class EndpointTable;
class EnumeratorClass;

// A device of the engine's collections, with the properties that its store holds: texts by key.
struct EndpointDescription {
    std::u16string id;
    EDataFlow flow = eRender;
    std::vector<std::pair<PROPERTYKEY, std::u16string>> properties{};
};

using EndpointNumber = std::size_t;

// A frame of a call stack: where it executes, and its first parameter words.
struct CallFrame {
    DWORD instruction = 0;
    std::array<DWORD, 4> parameters{};
};

// The present machine of this process for its lifetime; there is one at a time (std::logic_error).
// It starts with the class of the device enumerator, a clock that stands at kStartOfClock and
// Windows 10, and with nothing else. All methods may throw std::bad_alloc. Any thread may call any
// method; the object itself is made and ended by one thread.
//
// COM objects that were handed out may outlive it; they then go on answering from what it was.
class SimulatedMachine {
  public:
    static constexpr std::int64_t kStartOfClock = 1'700'000'000;

    SimulatedMachine();
    ~SimulatedMachine();
    SimulatedMachine(const SimulatedMachine&) = delete;
    SimulatedMachine& operator=(const SimulatedMachine&) = delete;

    // --- Devices ---
    // A device node; fresh ones are numbered from 1.
    DWORD AddNode(std::u16string instanceId);

    // An interface of a node, behind those that there are. Whoever stands behind its path is
    // another's matter (SimulatedDriver).
    void AddInterface(const GUID& interfaceClass, DWORD node, std::u16string path,
                      bool isPresent = true);

    // --- Endpoints ---
    EndpointNumber AddEndpoint(EndpointDescription endpoint);

    // One whose instance id is that of a device node; none when `instanceId` is empty.
    EndpointNumber AddEndpoint(std::u16string id, EDataFlow flow, std::u16string_view instanceId);

    // A collection, with a reference for the caller. std::out_of_range for an unknown number.
    IMMDeviceCollection* NewCollection(const std::vector<EndpointNumber>& members) const;

    // How many notification clients are registered, and how many endpoint objects are alive.
    std::size_t NotificationClients() const;
    std::size_t LiveObjects() const;

    // --- The engine's process ---
    // A module without symbols, or with them. The first is the process's own image.
    void AddModule(platform::LoadedModule loaded);

    // Makes memory of the process readable (MachineMemory::Write).
    void WriteMemory(DWORD address, std::span<const std::byte> bytes);

    // Lays a call stack, innermost frame first, out in memory from kStackBase on: each frame is the
    // address of the next outer one, the return address into it, and the parameters; the outermost
    // ends with zeros. What was there before is replaced. std::invalid_argument without frames.
    void SetCallStack(const std::vector<CallFrame>& frames);
    static constexpr DWORD kStackBase = 0x0019'0000;

    // --- Everything else ---
    // Runs `edit(MachineState&)` under the machine's lock.
    template <typename Edit>
    void Change(Edit edit) {
        const platform::Machine machine;
        edit(*state);
    }

    // Tells a step to fail (MachineFaults::Add), and all to work again.
    void Fail(platform::MachineStep step, DWORD error, std::size_t skip = 0,
              std::size_t times = platform::MachineFaults::kAlways);
    void Behave();

    // How often a step was taken.
    std::size_t Calls(platform::MachineStep step) const;

    // What the debug-help session of the process is at this moment.
    platform::SymbolSession Symbols() const;

    void SetClock(std::int64_t secondsSinceEpoch);

  private:
    const std::shared_ptr<platform::MachineState> state;
    const std::shared_ptr<EndpointTable> endpoints;
    std::unique_ptr<EnumeratorClass> enumeratorClass;
};

}  // namespace quorvel::simulation
