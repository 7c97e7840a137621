#include "platform/simulation/machine/engine_call.h"

#include <cstring>
#include <stdexcept>

#include "platform/module_file.h"

namespace quorvel::simulation {
namespace {

struct ModulePlace {
    const char16_t* fileName;
    DWORD base;
};

// Of the system's directory. The process's own image first, as the system lists them.
constexpr ModulePlace kModules[] = {
    {u"AUDIODG.EXE", 0x0040'0000},
    {u"ntdll.dll", 0x7700'0000},
    {u"kernel32.dll", 0x7600'0000},
    {u"audioeng.dll", 0x6000'0000},
};
constexpr DWORD kLibraryBase = 0x1000'0000;
constexpr DWORD kModuleSize = 0x10'0000;

// Where each frame executes, innermost first; three are the engine's.
constexpr DWORD kInstructions[] = {
    0x1000'2340, 0x1000'1120,               // the library's Initialize
    0x6000'4A10, 0x6000'8C44,               // the engine's library
    0x0040'1D20, 0x0040'3308, 0x0040'7F54,  // the engine
    0x7600'6A14, 0x7700'9F72,               // the system
};
constexpr std::size_t kOutermostEngineFrame = 6;
constexpr std::size_t kEngineFrames = 3;

constexpr DWORD kRecordAddress = 0x0238'0100;
constexpr DWORD kRecordSize = 0x200;

void AddModules(SimulatedMachine& machine) {
    for (const ModulePlace& place : kModules)
        machine.AddModule({.fileName = place.fileName,
                           .imagePath = std::u16string(u"C:\\Windows\\System32\\") + place.fileName,
                           .base = place.base,
                           .size = kModuleSize});
    const std::u16string library = platform::ModuleFile();
    machine.AddModule({.fileName = library.substr(library.rfind(u'\\') + 1),
                       .imagePath = library,
                       .base = kLibraryBase,
                       .size = kModuleSize});
}

void WriteRecord(SimulatedMachine& machine, const EngineCall& call) {
    std::vector<std::byte> record(kRecordSize);
    const std::size_t classPlace = std::size_t{call.processPlace} + call.classPlace;
    if (classPlace + sizeof(CLSID) > record.size())
        throw std::invalid_argument("the stream record is shorter than that");
    std::memcpy(&record[call.processPlace], &call.clientProcess, sizeof(DWORD));
    std::memcpy(&record[classPlace], &call.classId, sizeof(CLSID));
    machine.WriteMemory(kRecordAddress, record);
}

}  // namespace

void StageEngineCall(SimulatedMachine& machine, const EngineCall& call) {
    if (call.framesBeyond >= kEngineFrames)
        throw std::invalid_argument("the engine has not that many frames");
    bool isBare = false;
    machine.Change([&](const platform::MachineState& state) { isBare = state.modules.empty(); });
    if (isBare) AddModules(machine);

    std::vector<CallFrame> frames;
    for (const DWORD instruction : kInstructions)
        frames.push_back({.instruction = instruction});
    if (call.clientProcess != 0) {
        WriteRecord(machine, call);
        frames[kOutermostEngineFrame - call.framesBeyond].parameters[1] = kRecordAddress;
    }
    machine.SetCallStack(frames);
}

}  // namespace quorvel::simulation
