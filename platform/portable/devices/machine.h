// What the portable calls tell about the computer they run on: plain data, filled by whoever plays
// the computer (platform/simulation/machine/simulated_machine.h).
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/portable/debug_help/machine_memory.h"
#include "platform/portable/devices/machine_faults.h"

namespace quorvel::platform {

struct DeviceNode {
    DWORD node = 0;  // never 0
    std::u16string instanceId;
};

struct DeviceInterface {
    GUID interfaceClass{};
    DWORD node = 0;  // the device that offers it
    std::u16string path;
    bool isPresent = true;
};

// A module of the engine process.
struct LoadedModule {
    std::u16string fileName;                    // "module.dll"
    std::u16string imagePath;                   // with directory
    DWORD base = 0;                             // first address
    DWORD size = 0;                             // bytes
    std::map<DWORD, std::u16string> symbols{};  // by offset from the base
};

// Where a walk over the call stack starts.
struct InnermostFrame {
    DWORD instruction = 0;
    DWORD frame = 0;
    DWORD stack = 0;
};

struct SystemVersion {
    DWORD major = 10;
    DWORD minor = 0;
    DWORD build = 19045;
};

// The debug-help session of the engine process.
struct SymbolSession {
    bool isOpen = false;
    std::u16string searchPath;
    std::vector<LoadedModule> modules;
};

struct MachineState {
    std::vector<DeviceNode> nodes;
    std::vector<DeviceInterface> interfaces;  // in the order of enumeration

    std::vector<LoadedModule> modules;  // the first is the process's own image
    MachineMemory memory;
    InnermostFrame innermost;
    std::map<std::u16string, std::u16string> environment;
    bool isWow64 = true;

    std::optional<SystemVersion> version = SystemVersion{};  // none: it cannot be asked for
    std::optional<std::int64_t> clock;  // seconds since 1970; none: the system's time

    SymbolSession symbols;
    DWORD symbolOptions = 0;

    MachineFaults faults;
};

// The present machine under its lock, for the lifetime of this object. Without a simulated one it
// is a bare machine that keeps only what calls change. The lock is a leaf: who holds it takes no
// other, calls no device and no object. Real-time threads stay away from it.
class Machine {
  public:
    Machine();
    MachineState* operator->() const { return state; }
    MachineState& operator*() const { return *state; }

    // Counts a call of `step`. When it shall fail, makes the error the thread's last one and
    // returns true.
    bool Fails(MachineStep step) const;

    // Makes `next` the present machine in place of the bare one; std::logic_error when another is.
    static void Install(std::shared_ptr<MachineState> next);

    // Puts the bare one back in `old`'s place.
    static void Remove(const std::shared_ptr<MachineState>& old);

  private:
    std::lock_guard<std::mutex> lock;
    MachineState* state;
};

// Whether two names are equal but for the case of ASCII letters.
bool IsSameName(std::u16string_view a, std::u16string_view b);

// The module around an address; null when there is none.
const LoadedModule* FindModule(const std::vector<LoadedModule>& modules, DWORD64 address);

// Copies a text and its terminating zero into `units` of room, at least 1, cutting it off; whether
// all of it was copied.
bool CopyText(std::u16string_view text, WCHAR* to, std::size_t units);

}  // namespace quorvel::platform
