#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tests/support/handles.h"

namespace quorvel {
namespace {

using namespace test;
using std::chrono::milliseconds;

class Waits : public HandleBalance {};

TEST_F(Waits, TheLowestSignalledIndexIsReturnedAndOnlyItsSignalTaken) {
    const UniqueHandle events[] = {AutoEvent(), AutoEvent(true), ManualEvent(true),
                                   AutoEvent(true)};
    std::vector<HANDLE> handles;
    for (const UniqueHandle& event : events)
        handles.push_back(event.Get());
    const auto wait = [&] { return WaitForMultipleObjects(4, handles.data(), FALSE, 0); };
    EXPECT_EQ(wait(), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(wait(), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(wait(), WAIT_OBJECT_0 + 2);
    ResetEvent(handles[2]);
    EXPECT_EQ(wait(), WAIT_OBJECT_0 + 3);
    EXPECT_EQ(wait(), WAIT_TIMEOUT);
}

TEST_F(Waits, TimeLimitsAreKept) {
    const UniqueHandle event = ManualEvent();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(event.Get(), 60), WAIT_TIMEOUT);
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, milliseconds(55));  // Windows rounds to its timer's ticks
    EXPECT_LT(passed, milliseconds(10000));
}

TEST_F(Waits, ASignalEndsAWaitWithAndWithoutTimeLimit) {
    for (const DWORD limit : {DWORD{INFINITE}, DWORD{60000}}) {
        const UniqueHandle never = ManualEvent(), event = AutoEvent();
        const HANDLE handles[] = {never.Get(), event.Get()};
        std::thread setter([&] {
            std::this_thread::sleep_for(milliseconds(5));
            SetEvent(event.Get());
        });
        EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, limit), WAIT_OBJECT_0 + 1);
        EXPECT_FALSE(IsSignalled(event));
        setter.join();
    }
}

TEST_F(Waits, ListsHaveOneToSixtyFourHandles) {
    const UniqueHandle event = ManualEvent(true);
    const std::vector<HANDLE> handles(65, event.Get());
    for (const DWORD count : {0u, 65u}) {
        EXPECT_EQ(WaitForMultipleObjects(count, handles.data(), FALSE, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(WaitForMultipleObjects(64, handles.data(), FALSE, 0), WAIT_OBJECT_0);
}

TEST_F(Waits, EverySignalOfAnAutoResetEventIsTakenExactlyOnce) {
    const UniqueHandle event = AutoEvent(), stop = ManualEvent();
    const HANDLE handles[] = {event.Get(), stop.Get()};
    std::atomic<int> taken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] {
            while (WaitForMultipleObjects(2, handles, FALSE, INFINITE) == WAIT_OBJECT_0)
                ++taken;
        });
    for (int signals = 1; signals <= 500; ++signals) {
        SetEvent(event.Get());
        while (taken < signals)
            std::this_thread::yield();
    }
    SetEvent(stop.Get());
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(taken, 500);
    EXPECT_FALSE(IsSignalled(event));
}

TEST_F(Waits, ClosingTheHandleDoesNotEndTheWait) {
    DWORD result = WAIT_FAILED;  // when the close came before the wait
    for (int attempt = 0; attempt < 100 && result == WAIT_FAILED; ++attempt) {
        UniqueHandle closed = ManualEvent(false, "QuorvelClosedInWait");
        const UniqueHandle setter = Opened("QuorvelClosedInWait");
        std::thread waiter(
            [&, handle = closed.Get()] { result = WaitForSingleObject(handle, 10000); });
        std::this_thread::sleep_for(milliseconds(10));
        closed.Reset();
        SetEvent(setter.Get());
        waiter.join();
    }
    EXPECT_EQ(result, WAIT_OBJECT_0);
}

TEST_F(Waits, AThreadThatWaitsIsReleasedThoughTheEventIsResetAtOnce) {
    const UniqueHandle event = ManualEvent();
    std::atomic<bool> released = false;
    std::thread waiter([&] {
        WaitForSingleObject(event.Get(), INFINITE);
        released = true;
    });
    int pulses = 0;  // more than one only when the thread came late
    for (; !released && pulses < 100; ++pulses) {
        std::this_thread::sleep_for(milliseconds(10));
        SetEvent(event.Get());
        ResetEvent(event.Get());
        std::this_thread::sleep_for(milliseconds(10));
    }
    EXPECT_LT(pulses, 100);
    SetEvent(event.Get());
    waiter.join();
}

}  // namespace
}  // namespace quorvel
