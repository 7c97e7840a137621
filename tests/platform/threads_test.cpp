#include <atomic>

#include "platform/unique_handle.h"
#include "tests/support/handle_balance.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;

class Threads : public test::HandleBalance {
  protected:
    struct Meeting {
        UniqueHandle started{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        UniqueHandle leave{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        UniqueHandle left{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        DWORD threadId = 0;
    };

    static DWORD WINAPI Attend(LPVOID parameter) {
        auto& meeting = *static_cast<Meeting*>(parameter);
        meeting.threadId = GetCurrentThreadId();
        SetEvent(meeting.started.Get());
        WaitForSingleObject(meeting.leave.Get(), INFINITE);
        SetEvent(meeting.left.Get());
        return 0;
    }
};

TEST_F(Threads, TheHandleIsSignalledWhenTheThreadHasEnded) {
    Meeting meeting;
    DWORD id = 0;
    const UniqueHandle thread(CreateThread(nullptr, 0, Attend, &meeting, 0, &id));
    ASSERT_TRUE(thread);
    EXPECT_EQ(WaitForSingleObject(meeting.started.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(meeting.threadId, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_EQ(WaitForSingleObject(thread.Get(), 0), WAIT_TIMEOUT);
    SetEvent(meeting.leave.Get());
    EXPECT_EQ(WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(thread.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(Threads, AThreadRunsOnWhenItsHandleIsClosed) {
    Meeting meeting;
    UniqueHandle thread(CreateThread(nullptr, 0, Attend, &meeting, 0, nullptr));
    thread.Reset();
    SetEvent(meeting.leave.Get());
    EXPECT_EQ(WaitForSingleObject(meeting.left.Get(), INFINITE), WAIT_OBJECT_0);
}

std::atomic<bool> threadLocalGone = false;

struct ThreadLocal {
    ~ThreadLocal() { threadLocalGone = true; }
};

DWORD WINAPI UseThreadLocal(LPVOID) {
    thread_local const ThreadLocal object;
    static_cast<void>(object);
    return 0;
}

TEST_F(Threads, ThreadLocalObjectsAreGoneWhenTheHandleIsSignalled) {
    const UniqueHandle thread(CreateThread(nullptr, 0, UseThreadLocal, nullptr, 0, nullptr));
    WaitForSingleObject(thread.Get(), INFINITE);
    EXPECT_TRUE(threadLocalGone);
}

DWORD WINAPI Throw(LPVOID) {
    throw 1;
}

TEST(ThreadsDeathTest, AnExceptionOutOfTheEntryEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        WaitForSingleObject(CreateThread(nullptr, 0, Throw, nullptr, 0, nullptr), INFINITE), "");
}

}  // namespace
}  // namespace quorvel
