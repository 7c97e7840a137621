#include "platform/portable/debug_help/debug_help.h"

#include <algorithm>
#include <iterator>

#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/processes.h"

namespace {

using namespace quorvel::platform;

// The session, or null and the last error.
SymbolSession* FindSession(const Machine& machine, HANDLE process) {
    if (process != GetCurrentProcess() || !machine->symbols.isOpen)
        return FailWith(ERROR_INVALID_HANDLE, nullptr);
    return &machine->symbols;
}

// The loaded module around an address, or null and the last error.
const LoadedModule* FindLoaded(const Machine& machine, HANDLE process, DWORD64 address) {
    SymbolSession* const session = FindSession(machine, process);
    if (!session) return nullptr;
    const LoadedModule* const found = FindModule(session->modules, address);
    return found ? found : FailWith(ERROR_MOD_NOT_FOUND, nullptr);
}

std::u16string_view WithoutExtension(std::u16string_view fileName) {
    return fileName.substr(0, fileName.rfind(u'.'));
}

}  // namespace

BOOL SymInitializeW(HANDLE process, LPCWSTR searchPath, BOOL invadeProcess) {
    if (invadeProcess) return FailWith(ERROR_NOT_SUPPORTED, FALSE);
    if (process != GetCurrentProcess()) return FailWith(ERROR_INVALID_HANDLE, FALSE);
    const Machine machine;
    if (machine.Fails(MachineStep::kBeginSymbols)) return FALSE;
    if (machine->symbols.isOpen) return FailWith(ERROR_INVALID_FUNCTION, FALSE);
    return OrNotEnoughMemory(FALSE, [&] {
        machine->symbols.searchPath = searchPath ? searchPath : u"";
        machine->symbols.isOpen = true;
        return TRUE;
    });
}

BOOL SymCleanup(HANDLE process) {
    const Machine machine;
    SymbolSession* const session = FindSession(machine, process);
    if (!session) return FALSE;
    *session = {};
    return TRUE;
}

DWORD SymGetOptions() {
    return Machine()->symbolOptions;
}

DWORD SymSetOptions(DWORD options) {
    return Machine()->symbolOptions = options;
}

BOOL SymGetSearchPathW(HANDLE process, LPWSTR path, DWORD size) {
    const Machine machine;
    const SymbolSession* const session = FindSession(machine, process);
    if (!session) return FALSE;
    if (session->searchPath.size() >= size) return FailWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
    CopyText(session->searchPath, path, size);
    return TRUE;
}

DWORD64 SymLoadModuleExW(HANDLE process, HANDLE file, LPCWSTR, LPCWSTR, DWORD64 base, DWORD,
                         PVOID data, DWORD flags) {
    if (file || data || flags != 0) return FailWith(ERROR_NOT_SUPPORTED, 0u);
    const Machine machine;
    SymbolSession* const session = FindSession(machine, process);
    if (!session || machine.Fails(MachineStep::kLoadModule)) return 0;
    if (FindModule(session->modules, base)) return FailWith(ERROR_SUCCESS, 0u);
    const LoadedModule* const found = FindModule(machine->modules, base);
    if (!found || found->base != base) return FailWith(ERROR_MOD_NOT_FOUND, 0u);
    return OrNotEnoughMemory(DWORD64{0}, [&] {
        session->modules.push_back(*found);
        return base;
    });
}

BOOL SymGetModuleInfoW64(HANDLE process, DWORD64 address, IMAGEHLP_MODULEW64* information) {
    if (information->SizeOfStruct != sizeof(*information))
        return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    const Machine machine;
    if (machine.Fails(MachineStep::kFindModule)) return FALSE;
    const LoadedModule* const found = FindLoaded(machine, process, address);
    if (!found) return FALSE;

    *information = {};
    information->SizeOfStruct = sizeof(*information);
    information->BaseOfImage = found->base;
    information->ImageSize = found->size;
    information->NumSyms = static_cast<DWORD>(found->symbols.size());
    CopyText(WithoutExtension(found->fileName), information->ModuleName,
             std::size(information->ModuleName));
    CopyText(found->imagePath, information->ImageName, std::size(information->ImageName));
    CopyText(found->imagePath, information->LoadedImageName,
             std::size(information->LoadedImageName));
    return TRUE;
}

DWORD64 SymGetModuleBase64(HANDLE process, DWORD64 address) {
    const Machine machine;
    const LoadedModule* const found = FindLoaded(machine, process, address);
    return found ? found->base : 0;
}

BOOL SymFromAddrW(HANDLE process, DWORD64 address, DWORD64* displacement, SYMBOL_INFOW* symbol) {
    if (symbol->SizeOfStruct != sizeof(*symbol) || symbol->MaxNameLen == 0)
        return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    const Machine machine;
    if (machine.Fails(MachineStep::kFindSymbol)) return FALSE;
    const LoadedModule* const found = FindLoaded(machine, process, address);
    if (!found) return FALSE;
    const auto offset = static_cast<DWORD>(address - found->base);
    const auto behind = found->symbols.upper_bound(offset);
    if (behind == found->symbols.begin()) return FailWith(ERROR_INVALID_ADDRESS, FALSE);

    const auto& [start, name] = *std::prev(behind);
    symbol->ModBase = found->base;
    symbol->Address = found->base + start;
    symbol->NameLen = static_cast<ULONG>(name.size());
    // Behind the record the name goes on, which the compiler need not know.
    auto* const text = reinterpret_cast<std::byte*>(symbol) + offsetof(SYMBOL_INFOW, Name);
    CopyText(name, reinterpret_cast<WCHAR*>(text), symbol->MaxNameLen);
    if (displacement) *displacement = offset - start;
    return TRUE;
}

PVOID SymFunctionTableAccess64(HANDLE, DWORD64) {
    return nullptr;
}

DWORD UnDecorateSymbolNameW(LPCWSTR decorated, LPWSTR plain, DWORD size, DWORD) {
    if (size == 0) return FailWith(ERROR_INSUFFICIENT_BUFFER, 0u);
    CopyText(decorated, plain, size);
    return static_cast<DWORD>(std::u16string_view(plain).size());
}
