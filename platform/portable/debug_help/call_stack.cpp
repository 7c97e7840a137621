// The walk over the machine's call stack.
#include <optional>

#include "platform/portable/debug_help/debug_help.h"
#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/processes.h"

namespace {

using namespace quorvel::platform;

// A frame in memory: saved frame pointer, return address, parameters.
constexpr DWORD64 kWordSize = 4;
constexpr DWORD64 kReturnPlace = kWordSize;
constexpr DWORD64 kParameterPlace = 2 * kWordSize;

ADDRESS64 Flat(DWORD64 offset) {
    return {offset, 0, AddrModeFlat};
}

// Moves to the frame that the present one returns to.
bool StepOutward(const MachineMemory& memory, STACKFRAME64& frame) {
    const auto outer = memory.ReadWord(frame.AddrFrame.Offset);
    if (!outer || *outer <= frame.AddrFrame.Offset) return false;
    frame.AddrPC = frame.AddrReturn;
    frame.AddrStack = Flat(frame.AddrFrame.Offset + kParameterPlace);
    frame.AddrFrame = Flat(*outer);
    return true;
}

// Reads what the frame at AddrFrame holds.
bool ReadFrame(const MachineMemory& memory, STACKFRAME64& frame) {
    const auto returnAddress = memory.ReadWord(frame.AddrFrame.Offset + kReturnPlace);
    if (!returnAddress) return false;
    frame.AddrReturn = Flat(*returnAddress);
    DWORD64 place = frame.AddrFrame.Offset + kParameterPlace;
    for (DWORD64& parameter : frame.Params) {
        parameter = memory.ReadWord(place).value_or(0);
        place += kWordSize;
    }
    return true;
}

}  // namespace

void RtlCaptureContext(CONTEXT* context) {
    const Machine machine;
    context->Eip = machine->innermost.instruction;
    context->Ebp = machine->innermost.frame;
    context->Esp = machine->innermost.stack;
}

BOOL StackWalk64(DWORD machineType, HANDLE process, HANDLE thread, STACKFRAME64* frame,
                 PVOID context, ReadMemoryRoutine64 read, FunctionTableRoutine64,
                 ModuleBaseRoutine64, TranslateRoutine64 translate) {
    if (machineType != IMAGE_FILE_MACHINE_I386 || process != GetCurrentProcess() ||
        thread != GetCurrentThread() || read || translate)
        return FALSE;
    const Machine machine;
    if (machine.Fails(MachineStep::kStackStep)) return FALSE;
    if (frame->Virtual && !StepOutward(machine->memory, *frame)) return FALSE;
    if (frame->AddrPC.Offset == 0 || !ReadFrame(machine->memory, *frame)) return FALSE;
    frame->Virtual = TRUE;

    auto& registers = *static_cast<CONTEXT*>(context);
    registers.Eip = static_cast<DWORD>(frame->AddrPC.Offset);
    registers.Ebp = static_cast<DWORD>(frame->AddrFrame.Offset);
    registers.Esp = static_cast<DWORD>(frame->AddrStack.Offset);
    return TRUE;
}
