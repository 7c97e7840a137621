#include "platform/portable/kernel/processes.h"

#include <memory>
#include <span>
#include <utility>

#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/handle_table.h"

namespace {

using namespace quorvel::platform;

struct Process : KernelObject {};

// Whether the handle is a process's and has the rights; otherwise the last error is set.
bool IsProcess(HANDLE process, DWORD access) {
    if (process == GetCurrentProcess()) return true;
    KernelLock lock;
    return HandleTable::Get(lock).Find<Process>(lock, process, access) != nullptr;
}

}  // namespace

HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(~ULONG_PTR{0});
}

HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(~ULONG_PTR{1});
}

HANDLE OpenProcess(DWORD access, BOOL, DWORD processId) {
    if (Machine().Fails(MachineStep::kOpenProcess)) return nullptr;
    if (processId != GetCurrentProcessId()) return FailWith(ERROR_INVALID_PARAMETER, nullptr);
    return OrNotEnoughMemory(HANDLE{}, [&] {
        auto process = std::make_shared<Process>();
        KernelLock lock;
        return HandleTable::Get(lock).Insert(lock, std::move(process), access);
    });
}

BOOL ReadProcessMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size, SIZE_T* count) {
    if (count) *count = 0;
    if (!IsProcess(process, PROCESS_VM_READ)) return FALSE;

    const Machine machine;
    if (machine.Fails(MachineStep::kReadMemory)) return FALSE;
    const std::span out(static_cast<std::byte*>(buffer), size);
    const std::size_t copied = machine->memory.Read(reinterpret_cast<ULONG_PTR>(address), out);
    if (count) *count = copied;
    return copied == size ? TRUE : FailWith(ERROR_PARTIAL_COPY, FALSE);
}

BOOL IsWow64Process(HANDLE process, BOOL* isWow64) {
    if (!IsProcess(process, 0)) return FALSE;
    const Machine machine;
    if (machine.Fails(MachineStep::kAskWow64)) return FALSE;
    *isWow64 = machine->isWow64 ? TRUE : FALSE;
    return TRUE;
}

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR value, DWORD size) {
    const Machine machine;
    for (const auto& [key, text] : machine->environment) {
        if (!IsSameName(key, name)) continue;
        const auto length = static_cast<DWORD>(text.size());
        if (length >= size) return length + 1;
        CopyText(text, value, size);
        return length;
    }
    return FailWith(ERROR_ENVVAR_NOT_FOUND, 0u);
}
