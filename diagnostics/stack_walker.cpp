#include "diagnostics/stack_walker.h"

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "diagnostics/symbol_search_path.h"
#include "platform/call_context.h"
#include "platform/unique_handle.h"

namespace quorvel {
namespace {

constexpr DWORD kNameUnits = 1024;
constexpr std::size_t kSymbolSize = sizeof(SYMBOL_INFOW) + kNameUnits * sizeof(WCHAR);
static_assert(sizeof(SYMBOL_INFOW) == 88 && kSymbolSize == 2136);

// The record as every version of the debug-help library takes it.
constexpr DWORD kModuleRecordSize = 3256;
static_assert(sizeof(IMAGEHLP_MODULEW64) >= kModuleRecordSize);

static_assert(sizeof(STACKFRAME64) == 264);
static_assert(sizeof(void*) != 4 || sizeof(CONTEXT) == 716);
static_assert(sizeof(void*) != 4 || sizeof(MODULEENTRY32W) == 1064);

ADDRESS64 Flat(DWORD64 offset) {
    ADDRESS64 address{};
    address.Offset = offset;
    address.Mode = AddrModeFlat;
    return address;
}

STACKFRAME64 FirstFrame(const CONTEXT& context) {
    const platform::CallRegisters registers = platform::RegistersOf(context);
    STACKFRAME64 frame{};
    frame.AddrPC = Flat(registers.instruction);
    frame.AddrFrame = Flat(registers.frame);
    frame.AddrStack = Flat(registers.stack);
    return frame;
}

bool FindModule(HANDLE process, DWORD64 address, IMAGEHLP_MODULEW64& found) {
    found = {};
    found.SizeOfStruct = kModuleRecordSize;
    return SymGetModuleInfoW64(process, address, &found);
}

// The symbol's plain name; empty when there is none.
void FindName(HANDLE process, DWORD64 address, SYMBOL_INFOW& symbol, WCHAR* name) {
    *name = 0;
    symbol.SizeOfStruct = sizeof(symbol);
    symbol.MaxNameLen = kNameUnits;
    DWORD64 displacement = 0;
    constexpr DWORD kComplete = 0;
    if (SymFromAddrW(process, address, &displacement, &symbol))
        UnDecorateSymbolNameW(symbol.Name, name, kNameUnits, kComplete);
}

// One step of the walk.
bool Step(HANDLE process, STACKFRAME64& frame, CONTEXT& context) {
    return StackWalk64(platform::kMachineType, process, GetCurrentThread(), &frame, &context,
                       nullptr, SymFunctionTableAccess64, SymGetModuleBase64, nullptr);
}

bool ReturnsNowhere(const STACKFRAME64& frame) {
    return frame.AddrReturn.Offset == 0 || frame.AddrReturn.Offset == frame.AddrPC.Offset;
}

}  // namespace

StackWalker::StackWalker(FrameCallback callback, void* userData)
    : process(GetCurrentProcess()), frameCallback(std::move(callback)), user(userData) {}

StackWalker::~StackWalker() {
    if (initialized) SymCleanup(process);
}

bool StackWalker::Walk() {
    if (!SetUp()) return false;
    CONTEXT context{};
    context.ContextFlags = platform::kAllRegisters;
    RtlCaptureContext(&context);
    STACKFRAME64 frame = FirstFrame(context);

    const std::unique_ptr<WCHAR[]> name(new (std::nothrow) WCHAR[kNameUnits]{});
    const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[kSymbolSize]{});
    if (!name || !buffer) return false;
    auto& symbol = *reinterpret_cast<SYMBOL_INFOW*>(buffer.get());

    for (int index = 0; Step(process, frame, context); ++index)
        if (!ReportFrame(index, frame, context, name.get(), symbol) || ReturnsNowhere(frame)) break;
    return false;
}

bool StackWalker::ReportFrame(int frameIndex, const STACKFRAME64& frame, const CONTEXT& context,
                              WCHAR* name, SYMBOL_INFOW& symbol) {
    const DWORD64 address = frame.AddrPC.Offset;
    FindName(process, address, symbol, name);
    IMAGEHLP_MODULEW64 found{};
    const bool isKnown = FindModule(process, address, found);
    return !frameCallback || frameCallback(user, frameIndex, frame, context, nullptr,
                                           isKnown ? found.ModuleName : nullptr,
                                           isKnown ? found.LoadedImageName : nullptr, name);
}

std::basic_string<WCHAR> StackWalker::SearchPath() const {
    std::basic_string<WCHAR> path(kSearchPathUnits, WCHAR{});
    if (!initialized || !SymGetSearchPathW(process, path.data(), kSearchPathUnits)) return {};
    path.resize(path.find(WCHAR{}));
    return path;
}

bool StackWalker::SetUp() noexcept try {
    if (initialized) return true;
    if (!SymInitializeW(process, SymbolSearchPath(process).c_str(), FALSE)) return false;
    SymSetOptions(SymGetOptions() | SYMOPT_FAIL_CRITICAL_ERRORS);
    initialized = LoadModules();
    if (!initialized) SymCleanup(process);
    return initialized;
} catch (const std::bad_alloc&) {
    return false;
}

bool StackWalker::LoadModules() {
    const platform::UniqueHandle snapshot(
        CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId()));
    if (!snapshot) return false;
    bool isAnyLoaded = false;
    MODULEENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Module32FirstW(snapshot.Get(), &entry); more;
         more = Module32NextW(snapshot.Get(), &entry)) {
        const auto base = static_cast<DWORD64>(reinterpret_cast<ULONG_PTR>(entry.modBaseAddr));
        if (SymLoadModuleExW(process, nullptr, entry.szExePath, entry.szModule, base,
                             entry.modBaseSize, nullptr, 0) == 0)
            continue;
        isAnyLoaded = true;
        IMAGEHLP_MODULEW64 information;  // asking is what brings deferred symbols in
        FindModule(process, base, information);
    }
    return isAnyLoaded;
}

}  // namespace quorvel
