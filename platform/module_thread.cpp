#include "platform/module_thread.h"

#include <memory>
#include <new>

#include "platform/unique_handle.h"

namespace quorvel::platform {
namespace {

struct Task {
    void (*work)(void* argument) = nullptr;
    void* argument = nullptr;
};

// KeepModule keeps the module loaded; LeaveModule ends the thread and lets the module go.
#ifdef _WIN32

HMODULE KeepModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&RunOnModuleThread), &module);
    return module;
}

DWORD LeaveModule(HMODULE module) {
    if (module) FreeLibraryAndExitThread(module, 0);
    return 0;
}

#else

struct HeldModule {};

HeldModule KeepModule() {
    return {};
}

DWORD LeaveModule(HeldModule) {
    return 0;
}

#endif

DWORD WINAPI Run(void* parameter) {
    const auto module = KeepModule();
    {
        const std::unique_ptr<Task> task(static_cast<Task*>(parameter));
        const HRESULT joined = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        task->work(task->argument);
        if (SUCCEEDED(joined)) CoUninitialize();
    }
    return LeaveModule(module);
}

}  // namespace

bool RunOnModuleThread(void (*work)(void* argument), void* argument, DWORD milliseconds) {
    std::unique_ptr<Task> task(new (std::nothrow) Task{work, argument});
    if (!task) return false;
    const UniqueHandle thread(CreateThread(nullptr, 0, Run, task.get(), 0, nullptr));
    if (!thread) return false;
    static_cast<void>(task.release());  // the thread's own
    WaitForSingleObject(thread.Get(), milliseconds);
    return true;
}

}  // namespace quorvel::platform
