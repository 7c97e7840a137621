// What every call does with a handle that is not its own.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;

// The call's error code, 0 when it went well.
using Call = DWORD (*)(HANDLE);

DWORD ErrorUnless(bool success) {
    return success ? ERROR_SUCCESS : GetLastError();
}

DWORD Control(HANDLE handle) {
    DWORD returned = 0;
    return ErrorUnless(
        DeviceIoControl(handle, 0x226EE0, nullptr, 0, nullptr, 0, &returned, nullptr));
}

DWORD Read(HANDLE handle) {
    UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    OVERLAPPED overlapped{};
    overlapped.hEvent = event.Get();
    char buffer[4];
    return ErrorUnless(ReadFile(handle, buffer, sizeof(buffer), nullptr, &overlapped));
}

DWORD ResultWithoutEvent(HANDLE handle) {
    OVERLAPPED underWay{};
    underWay.Internal = STATUS_PENDING;
    DWORD bytes = 0;
    return ErrorUnless(GetOverlappedResult(handle, &underWay, &bytes, TRUE));
}

DWORD WaitForSecond(HANDLE handle) {
    UniqueHandle signalled(CreateEventW(nullptr, TRUE, TRUE, nullptr));
    const HANDLE both[] = {signalled.Get(), handle};
    return ErrorUnless(WaitForMultipleObjects(2, both, FALSE, 0) != WAIT_FAILED);
}

struct Row {
    const char* name;
    Call call;
    bool takesEvent;
    bool takesFile;
};

constexpr Row kCalls[] = {
    {"SetEvent", [](HANDLE h) { return ErrorUnless(SetEvent(h)); }, true, false},
    {"ResetEvent", [](HANDLE h) { return ErrorUnless(ResetEvent(h)); }, true, false},
    {"WaitForSingleObject",
     [](HANDLE h) { return ErrorUnless(WaitForSingleObject(h, 0) != WAIT_FAILED); }, true, false},
    {"WaitForMultipleObjects", WaitForSecond, true, false},
    {"DeviceIoControl", Control, false, true},
    {"ReadFile", Read, false, true},
    {"CancelIo", [](HANDLE h) { return ErrorUnless(CancelIo(h)); }, false, true},
    {"GetOverlappedResult", ResultWithoutEvent, false, false},
};

class Handles : public test::FakeDeviceTest {};

TEST_F(Handles, NoCallTakesAHandleThatIsNotOpen) {
    const HANDLE closedEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE closedFile = OpenFile().Release();
    ASSERT_TRUE(CloseHandle(closedEvent));
    ASSERT_TRUE(CloseHandle(closedFile));
    const HANDLE neverOpened = reinterpret_cast<HANDLE>(ULONG_PTR{0x7FFF0004});
    for (const Row& row : kCalls)
        for (const HANDLE handle : {HANDLE{}, neverOpened, closedEvent, closedFile}) {
            EXPECT_EQ(row.call(handle), ERROR_INVALID_HANDLE) << row.name << " of " << handle;
        }
    for (const HANDLE handle : {HANDLE{}, neverOpened, closedEvent, closedFile}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(CloseHandle(handle));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
}

TEST_F(Handles, EveryCallRefusesHandlesOfAnotherKind) {
    device->answer = [](DWORD, auto, auto, DWORD&) { return ERROR_SUCCESS; };
    device->onRead = [](auto request) { request->CompleteWith({}); };
    const UniqueHandle event(CreateEventW(nullptr, TRUE, TRUE, nullptr));
    const UniqueHandle file = OpenFile();
    for (const Row& row : kCalls) {
        EXPECT_EQ(row.call(event.Get()), row.takesEvent ? 0 : ERROR_INVALID_HANDLE) << row.name;
        EXPECT_EQ(row.call(file.Get()), row.takesFile ? 0 : ERROR_INVALID_HANDLE) << row.name;
    }
}

TEST_F(Handles, AStaleHandleStaysRefusedWhileOthersComeAndGo) {
    const HANDLE stale = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(stale);
    for (int round = 0; round < 1000; ++round) {
        const UniqueHandle fresh(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        ASSERT_NE(fresh.Get(), stale);
        ASSERT_FALSE(SetEvent(stale));
    }
}

TEST(LastError, IsTheThreadsOwn) {
    SetLastError(1234);
    DWORD elsewhere = 1;
    std::thread([&] {
        elsewhere = GetLastError();
        SetLastError(77);
    }).join();
    EXPECT_EQ(elsewhere, ERROR_SUCCESS);
    EXPECT_EQ(GetLastError(), 1234u);
}

}  // namespace
}  // namespace quorvel
