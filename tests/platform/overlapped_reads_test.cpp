// Reads that complete at once, later, or never.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

class OverlappedReads : public FakeDeviceTest {
  protected:
    // One read of 4 bytes with its own event; the buffer holds 0xEE until something is read.
    struct Read {
        UniqueHandle event = ManualEvent(true);
        OVERLAPPED overlapped{};
        std::vector<std::byte> buffer = Bytes({0xEE, 0xEE, 0xEE, 0xEE});
        DWORD count = 99;

        Read() { overlapped.hEvent = event.Get(); }

        // The error code, 0 when it completed at once.
        DWORD Start(HANDLE openFile) {
            return ErrorUnless(ReadFile(openFile, buffer.data(), 4, &count, &overlapped));
        }
        DWORD Result(bool wait = false) {
            count = 99;
            return ErrorUnless(GetOverlappedResult(nullptr, &overlapped, &count, wait));
        }
        bool IsSignalled() const { return test::IsSignalled(event); }
        bool IsOverWithoutBytes() const {
            return IsSignalled() && overlapped.InternalHigh == 0 &&
                   buffer == Bytes({0xEE, 0xEE, 0xEE, 0xEE});
        }
    };

    UniqueHandle file;

    void SetUp() override {
        FakeDeviceTest::SetUp();
        file = OpenFile();
    }
    void TearDown() override {
        file.Reset();
        FakeDeviceTest::TearDown();
    }
};

TEST_F(OverlappedReads, ACompletionAtOnceIsReportedByReadFileAndByTheOverlapped) {
    const struct {
        std::vector<std::byte> sent;
        DWORD error, count;
        std::vector<std::byte> received;
    } rows[] = {
        {Bytes({1, 2, 3}), ERROR_SUCCESS, 3, Bytes({1, 2, 3, 0xEE})},
        {Bytes({}), ERROR_SUCCESS, 0, Bytes({0xEE, 0xEE, 0xEE, 0xEE})},
        {Bytes({1, 2, 3, 4, 5}), ERROR_MORE_DATA, 4, Bytes({1, 2, 3, 4})},
    };
    for (const auto& row : rows) {
        device->onRead = [&row](auto request) {
            EXPECT_EQ(request->Size(), 4u);
            EXPECT_TRUE(request->CompleteWith(row.sent));
        };
        Read read;
        EXPECT_EQ(read.Start(file.Get()), row.error);
        EXPECT_EQ(read.count, row.count);
        EXPECT_EQ(read.buffer, row.received);
        EXPECT_TRUE(read.IsSignalled());
        EXPECT_EQ(read.Result(), row.error);
        EXPECT_EQ(read.count, row.count);
    }
}

TEST_F(OverlappedReads, APendingReadCompletesOnceWhenTheDeviceHasData) {
    Read read;
    EXPECT_EQ(read.Start(file.Get()), ERROR_IO_PENDING);
    EXPECT_EQ(read.count, 0u);
    EXPECT_FALSE(read.IsSignalled()) << "a read resets its event";
    EXPECT_EQ(read.Result(), ERROR_IO_INCOMPLETE);

    const auto request = device->TakeRead();
    ASSERT_TRUE(request);
    std::thread completer([&] { EXPECT_TRUE(request->CompleteWith(Bytes({7, 8}))); });
    EXPECT_EQ(read.Result(true), ERROR_SUCCESS);
    EXPECT_EQ(read.count, 2u);
    EXPECT_EQ(read.buffer, Bytes({7, 8, 0xEE, 0xEE}));
    EXPECT_TRUE(read.IsSignalled());
    completer.join();
    EXPECT_FALSE(request->CompleteWith(Bytes({9}))) << "a read ends once";
    EXPECT_FALSE(request->IsCancelled());
    EXPECT_EQ(read.buffer, Bytes({7, 8, 0xEE, 0xEE}));
}

TEST_F(OverlappedReads, TheDevicesFailureIsTheReadsResult) {
    for (const DWORD error : {ERROR_INVALID_DATA, DWORD{433}, DWORD{0xFFFF}}) {
        Read atOnce, later;
        device->onRead = [error](auto request) { request->Fail(error); };
        EXPECT_EQ(atOnce.Start(file.Get()), error);
        device->onRead = [this](auto request) { device->Queue(std::move(request)); };
        EXPECT_EQ(later.Start(file.Get()), ERROR_IO_PENDING);
        EXPECT_TRUE(device->TakeRead()->Fail(error));
        EXPECT_EQ(later.Result(true), error);
        EXPECT_TRUE(later.IsOverWithoutBytes());
    }
}

// What ends a read without an answer. Afterwards the device is too late.
TEST_F(OverlappedReads, ACancelledReadIsAbortedAndItsBufferLeftAlone) {
    using Cancel = void (*)(UniqueHandle&);
    const Cancel cancels[] = {
        [](UniqueHandle& handle) { EXPECT_TRUE(CancelIo(handle.Get())); },
        [](UniqueHandle& handle) { handle.Reset(); },
    };
    for (const Cancel cancel : cancels) {
        UniqueHandle cancelled = OpenFile();
        Read first, second, elsewhere;
        EXPECT_EQ(elsewhere.Start(file.Get()), ERROR_IO_PENDING);
        EXPECT_EQ(first.Start(cancelled.Get()), ERROR_IO_PENDING);
        EXPECT_EQ(second.Start(cancelled.Get()), ERROR_IO_PENDING);
        cancel(cancelled);
        EXPECT_FALSE(elsewhere.IsSignalled());
        EXPECT_TRUE(device->TakeRead()->CompleteWith({}));
        for (Read* read : {&first, &second}) {
            EXPECT_TRUE(read->IsOverWithoutBytes());
            EXPECT_EQ(read->Result(true), ERROR_OPERATION_ABORTED);
            EXPECT_EQ(read->count, 0u);
            const auto request = device->TakeRead();
            EXPECT_TRUE(request->IsCancelled());
            EXPECT_FALSE(request->CompleteWith(Bytes({1, 2})));
            EXPECT_TRUE(read->IsOverWithoutBytes());
        }
    }
    EXPECT_TRUE(CancelIo(file.Get())) << "nothing to cancel is no failure";
}

TEST_F(OverlappedReads, AThreadsCancelIoAndEndCancelItsReadsOnly) {
    Read own, others;
    EXPECT_EQ(own.Start(file.Get()), ERROR_IO_PENDING);
    std::thread([&] {
        EXPECT_TRUE(CancelIo(file.Get()));
        EXPECT_EQ(others.Start(file.Get()), ERROR_IO_PENDING);
    }).join();
    EXPECT_EQ(others.Result(), ERROR_OPERATION_ABORTED);
    EXPECT_EQ(own.Result(), ERROR_IO_INCOMPLETE);
    EXPECT_TRUE(device->TakeRead()->CompleteWith(Bytes({1})));
    EXPECT_EQ(own.Result(), ERROR_SUCCESS);
}

TEST_F(OverlappedReads, TheEventOutlivesItsHandleWhileTheReadIsPending) {
    Read read;
    const UniqueHandle named = ManualEvent(false, "QuorvelReadEvent");
    UniqueHandle closed = Opened("QuorvelReadEvent");
    read.overlapped.hEvent = closed.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_IO_PENDING);
    closed.Reset();
    EXPECT_TRUE(device->TakeRead()->CompleteWith({}));
    EXPECT_TRUE(IsSignalled(named));
}

TEST_F(OverlappedReads, AReadThatCannotStartLeavesEverythingAsItWas) {
    const UniqueHandle writeOnly = OpenFile(GENERIC_WRITE);
    const UniqueHandle owner = ManualEvent(true, "QuorvelReadRights");
    const UniqueHandle waitOnly = Opened("QuorvelReadRights", SYNCHRONIZE);
    Read read;
    EXPECT_EQ(read.Start(writeOnly.Get()), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(read.IsSignalled());
    read.overlapped.hEvent = file.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_INVALID_HANDLE);
    read.overlapped.hEvent = waitOnly.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsSignalled(waitOnly));
    EXPECT_EQ(ErrorUnless(ReadFile(file.Get(), read.buffer.data(), 4, nullptr, nullptr)),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorUnless(ReadFile(file.Get(), nullptr, 4, nullptr, &read.overlapped)),
              ERROR_NOACCESS);
    EXPECT_EQ(read.overlapped.Internal, 0u);
    EXPECT_FALSE(device->TakeRead()) << "the device saw none of them";
}

}  // namespace
}  // namespace quorvel
