#include <atomic>

#include "tests/support/handles.h"

namespace quorvel {
namespace {

using namespace test;

std::atomic<bool> threadLocalGone;

struct ThreadLocal {
    ~ThreadLocal() { threadLocalGone = true; }
};

class Threads : public HandleBalance {
  protected:
    struct Meeting {
        UniqueHandle started = ManualEvent(), leave = ManualEvent(), left = ManualEvent();
        DWORD threadId = 0;
    };

    static DWORD WINAPI Attend(LPVOID parameter) {
        thread_local const ThreadLocal object;
        static_cast<void>(object);
        auto& meeting = *static_cast<Meeting*>(parameter);
        meeting.threadId = GetCurrentThreadId();
        SetEvent(meeting.started.Get());
        WaitForSingleObject(meeting.leave.Get(), INFINITE);
        SetEvent(meeting.left.Get());
        return 0;
    }

    Meeting meeting;
};

TEST_F(Threads, TheHandleIsSignalledWhenTheThreadHasEnded) {
    threadLocalGone = false;
    DWORD id = 0;
    const UniqueHandle thread(CreateThread(nullptr, 0, Attend, &meeting, 0, &id));
    EXPECT_EQ(WaitForSingleObject(meeting.started.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(meeting.threadId, id);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_FALSE(IsSignalled(thread));
    SetEvent(meeting.leave.Get());
    EXPECT_EQ(WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(threadLocalGone);
    EXPECT_TRUE(IsSignalled(thread)) << "for ever";
}

TEST_F(Threads, AThreadRunsOnWhenItsHandleIsClosed) {
    CloseHandle(CreateThread(nullptr, 0, Attend, &meeting, 0, nullptr));
    SetEvent(meeting.leave.Get());
    EXPECT_EQ(WaitForSingleObject(meeting.left.Get(), INFINITE), WAIT_OBJECT_0);
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
