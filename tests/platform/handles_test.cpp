// What every call does with a handle that is not its own, and who closes one.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

DWORD Control(HANDLE handle) {
    DWORD returned = 0;
    return ErrorUnless(
        DeviceIoControl(handle, 0x226EE0, nullptr, 0, nullptr, 0, &returned, nullptr));
}

DWORD Read(HANDLE handle) {
    const UniqueHandle event = ManualEvent();
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
    const UniqueHandle signalled = ManualEvent(true);
    const HANDLE both[] = {signalled.Get(), handle};
    return ErrorUnless(WaitForMultipleObjects(2, both, FALSE, 0) != WAIT_FAILED);
}

constexpr struct {
    const char* name;
    DWORD (*call)(HANDLE);
    bool takesEvent, takesFile;
} kCalls[] = {
    {"SetEvent", [](HANDLE h) { return ErrorUnless(SetEvent(h)); }, true, false},
    {"ResetEvent", [](HANDLE h) { return ErrorUnless(ResetEvent(h)); }, true, false},
    {"WaitForMultipleObjects", WaitForSecond, true, false},
    {"DeviceIoControl", Control, false, true},
    {"ReadFile", Read, false, true},
    {"CancelIo", [](HANDLE h) { return ErrorUnless(CancelIo(h)); }, false, true},
    {"GetOverlappedResult", ResultWithoutEvent, false, false},
};

class Handles : public FakeDeviceTest {};

TEST_F(Handles, NoCallTakesAHandleThatIsNotOpenOrOfAnotherKind) {
    device->answer = [](DWORD, auto, auto, DWORD&) { return ERROR_SUCCESS; };
    device->onRead = [](auto request) { request->CompleteWith({}); };
    const UniqueHandle event = ManualEvent(true), file = OpenFile();
    const HANDLE closedEvent = ManualEvent().Get(), closedFile = OpenFile().Get();
    const HANDLE neverOpened = reinterpret_cast<HANDLE>(ULONG_PTR{0x7FFF0004});
    const HANDLE notOpen[] = {nullptr, neverOpened, closedEvent, closedFile};
    for (const auto& row : kCalls) {
        EXPECT_EQ(row.call(event.Get()), row.takesEvent ? 0 : ERROR_INVALID_HANDLE) << row.name;
        EXPECT_EQ(row.call(file.Get()), row.takesFile ? 0 : ERROR_INVALID_HANDLE) << row.name;
        for (const HANDLE handle : notOpen)
            EXPECT_EQ(row.call(handle), ERROR_INVALID_HANDLE) << row.name << " of " << handle;
    }
    for (const HANDLE handle : notOpen)
        EXPECT_EQ(ErrorUnless(CloseHandle(handle)), ERROR_INVALID_HANDLE);
}

TEST_F(Handles, AStaleHandleStaysRefusedWhileOthersComeAndGo) {
    const HANDLE stale = ManualEvent().Get();
    for (int round = 0; round < 1000; ++round) {
        const UniqueHandle fresh = ManualEvent();
        ASSERT_NE(fresh.Get(), stale);
        ASSERT_FALSE(SetEvent(stale));
    }
}

TEST_F(Handles, MovingAUniqueHandleClosesWhatWasOwnedButNotItself) {
    UniqueHandle target = ManualEvent(), source = ManualEvent();
    const HANDLE first = target.Get(), second = source.Get();
    target = std::move(source);
    EXPECT_FALSE(SetEvent(first));
    EXPECT_EQ(target.Get(), second);
    EXPECT_FALSE(source);
    UniqueHandle& itself = target;
    target = std::move(itself);
    EXPECT_EQ(target.Get(), second);
    EXPECT_TRUE(SetEvent(second));
    EXPECT_FALSE(UniqueHandle(INVALID_HANDLE_VALUE)) << "what a failed CreateFileW returns";
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
