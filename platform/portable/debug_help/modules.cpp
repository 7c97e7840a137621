#include "platform/portable/debug_help/modules.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/handle_table.h"
#include "platform/portable/kernel/library_source.h"

namespace {

using namespace quorvel::platform;

constexpr std::u16string_view kKernelModule = u"ntdll.dll";

// A bare machine has but this one.
const LoadedModule& KernelModule() {
    static const LoadedModule& kernel = *new LoadedModule{
        std::u16string(kKernelModule), u"C:\\Windows\\System32\\ntdll.dll", 0x7FFE'0000, 0x10000};
    return kernel;
}

HMODULE HandleOf(const LoadedModule& loaded) {
    return reinterpret_cast<HMODULE>(static_cast<ULONG_PTR>(loaded.base));
}

// Null, and the last error is set, when there is none that `matches`.
template <typename Matches>
const LoadedModule* FindLoaded(const Machine& machine, Matches matches) {
    const auto found = std::ranges::find_if(machine->modules, matches);
    if (found != machine->modules.end()) return &*found;
    if (matches(KernelModule())) return &KernelModule();
    return FailWith(ERROR_MOD_NOT_FOUND, nullptr);
}

// The process's own image for null.
const LoadedModule* FindByHandle(const Machine& machine, HMODULE handle) {
    if (!handle && !machine->modules.empty()) return &machine->modules.front();
    return FindLoaded(
        machine, [&](const LoadedModule& loaded) { return handle && HandleOf(loaded) == handle; });
}

struct ModuleSnapshot : KernelObject {
    std::vector<LoadedModule> modules;
    std::size_t next = 0;
};

std::shared_ptr<ModuleSnapshot> FindSnapshot(HANDLE snapshot) {
    KernelLock lock;
    return HandleTable::Get(lock).Find<ModuleSnapshot>(lock, snapshot, 0);
}

LONG WINAPI AnswerVersion(RTL_OSVERSIONINFOEXW* information) {
    const Machine machine;
    const SystemVersion version = machine->version.value_or(SystemVersion{});
    constexpr ULONG kWindowsNt = 2;
    information->dwMajorVersion = version.major;
    information->dwMinorVersion = version.minor;
    information->dwBuildNumber = version.build;
    information->dwPlatformId = kWindowsNt;
    return 0;
}

}  // namespace

HMODULE GetModuleHandleW(LPCWSTR name) {
    const Machine machine;
    const LoadedModule* const found =
        name ? FindLoaded(
                   machine,
                   [&](const LoadedModule& loaded) { return IsSameName(loaded.fileName, name); })
             : FindByHandle(machine, nullptr);
    return found ? HandleOf(*found) : nullptr;
}

FARPROC GetProcAddress(HMODULE loaded, LPCSTR name) {
    if (const PlayedLibrary* const library = FindPlayedLibrary(loaded)) {
        const auto function = library->functions.find(std::string_view(name));
        if (function != library->functions.end()) return function->second;
        return FailWith(ERROR_PROC_NOT_FOUND, nullptr);
    }
    const Machine machine;
    const LoadedModule* const found = FindByHandle(machine, loaded);
    if (!found) return nullptr;
    if (!IsSameName(found->fileName, kKernelModule) || !machine->version ||
        std::string_view(name) != "RtlGetVersion")
        return FailWith(ERROR_PROC_NOT_FOUND, nullptr);
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&AnswerVersion));
}

DWORD GetModuleFileNameW(HMODULE loaded, LPWSTR path, DWORD size) {
    const Machine machine;
    if (machine.Fails(MachineStep::kNameModule)) return 0;
    const LoadedModule* const found = FindByHandle(machine, loaded);
    if (!found) return 0;
    if (size == 0) return FailWith(ERROR_INSUFFICIENT_BUFFER, 0u);
    if (!CopyText(found->imagePath, path, size)) return FailWith(ERROR_INSUFFICIENT_BUFFER, size);
    return static_cast<DWORD>(found->imagePath.size());
}

HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId) {
    const bool isOwn = processId == 0 || processId == GetCurrentProcessId();
    if (flags != TH32CS_SNAPMODULE || !isOwn)
        return FailWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    return OrNotEnoughMemory(INVALID_HANDLE_VALUE, [&]() -> HANDLE {
        auto snapshot = std::make_shared<ModuleSnapshot>();
        {
            const Machine machine;
            if (machine.Fails(MachineStep::kSnapshotModules)) return INVALID_HANDLE_VALUE;
            snapshot->modules = machine->modules;
        }
        KernelLock lock;
        return HandleTable::Get(lock).Insert(lock, std::move(snapshot), 0);
    });
}

BOOL Module32FirstW(HANDLE snapshot, MODULEENTRY32W* entry) {
    const auto found = FindSnapshot(snapshot);
    if (!found) return FALSE;
    found->next = 0;
    return Module32NextW(snapshot, entry);
}

BOOL Module32NextW(HANDLE snapshot, MODULEENTRY32W* entry) {
    const auto found = FindSnapshot(snapshot);
    if (!found) return FALSE;
    if (entry->dwSize != sizeof(*entry)) return FailWith(ERROR_BAD_LENGTH, FALSE);
    if (found->next == found->modules.size()) return FailWith(ERROR_NO_MORE_FILES, FALSE);

    const LoadedModule& loaded = found->modules[found->next++];
    *entry = {};
    entry->dwSize = sizeof(*entry);
    entry->th32ModuleID = 1;  // of no meaning any more, but this is what it always is
    entry->th32ProcessID = GetCurrentProcessId();
    entry->GlblcntUsage = entry->ProccntUsage = 1;
    entry->modBaseAddr = reinterpret_cast<BYTE*>(static_cast<ULONG_PTR>(loaded.base));
    entry->modBaseSize = loaded.size;
    entry->hModule = HandleOf(loaded);
    CopyText(loaded.fileName, entry->szModule, std::size(entry->szModule));
    CopyText(loaded.imagePath, entry->szExePath, std::size(entry->szExePath));
    return TRUE;
}
