#include "platform/portable/kernel/threads.h"

#include <unistd.h>

#include <atomic>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

#include "platform/portable/kernel/handle_table.h"

namespace quorvel::platform {
namespace {

constexpr DWORD kThreadAllAccess = 0x001FFFFF;

class Thread final : public Waitable {
  public:
    Thread() : Waitable(ResetMode::kManual) {}
};

DWORD FreshThreadId() {
    static constinit std::atomic<DWORD> lastId{0};
    return lastId += 4;
}

thread_local constinit DWORD currentThreadId = 0;

// Signals the thread's object when it goes. As the first thread-local object that the thread makes
// it is the last to go.
struct EndOfThread {
    std::shared_ptr<Thread> thread;

    ~EndOfThread() {
        KernelLock lock;
        thread->Signal(lock);
    }
};

void Run(std::shared_ptr<Thread> thread, DWORD id, LPTHREAD_START_ROUTINE entry,
         LPVOID parameter) noexcept {
    thread_local const EndOfThread end{std::move(thread)};
    currentThreadId = id;
    entry(parameter);
}

// False when the system has no thread to give.
bool Start(std::shared_ptr<Thread> thread, DWORD id, LPTHREAD_START_ROUTINE entry,
           LPVOID parameter) {
    try {
        std::thread(Run, std::move(thread), id, entry, parameter).detach();
        return true;
    } catch (const std::exception&) {  // no memory, or no thread
        return false;
    }
}

HANDLE InsertThread(std::shared_ptr<Thread> thread) {
    KernelLock lock;
    return HandleTable::Get(lock).Insert(lock, std::move(thread), kThreadAllAccess);
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

HANDLE CreateThread(SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE entry, LPVOID parameter,
                    DWORD flags, DWORD* threadId) {
    if (!entry || flags != 0) return FailWith(ERROR_INVALID_PARAMETER, nullptr);
    return OrNotEnoughMemory(HANDLE{}, [&]() -> HANDLE {
        auto thread = std::make_shared<Thread>();
        const DWORD id = FreshThreadId();
        const HANDLE handle = InsertThread(thread);
        if (!Start(std::move(thread), id, entry, parameter)) {
            CloseHandle(handle);
            throw std::bad_alloc();
        }
        if (threadId) *threadId = id;
        return handle;
    });
}

DWORD GetCurrentThreadId() {
    if (currentThreadId == 0) currentThreadId = FreshThreadId();
    return currentThreadId;
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}
