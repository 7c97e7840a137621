// Reads and control requests that complete at once, later, or never.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

constexpr DWORD kCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_READ_ACCESS);

// What holds for both kinds.
class OverlappedRequests : public FakeDeviceTest, public ::testing::WithParamInterface<bool> {
  protected:
    static bool IsControl() { return GetParam(); }

    static DWORD Start(HANDLE openFile, void* buffer, DWORD* count, OVERLAPPED* overlapped) {
        return ErrorUnless(
            IsControl() ? DeviceIoControl(openFile, kCode, nullptr, 0, buffer, 4, count, overlapped)
                        : ReadFile(openFile, buffer, 4, count, overlapped));
    }

    // One request for 4 bytes with its own event; the buffer holds 0xEE until something is there.
    struct Request {
        UniqueHandle event = ManualEvent(true);
        OVERLAPPED overlapped{};
        std::vector<std::byte> buffer = Bytes({0xEE, 0xEE, 0xEE, 0xEE});
        DWORD count = 99;

        Request() { overlapped.hEvent = event.Get(); }

        // The error code, 0 when it completed at once.
        DWORD Start(HANDLE openFile) {
            return OverlappedRequests::Start(openFile, buffer.data(), &count, &overlapped);
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

    // What the device does with either kind.
    void OnRequest(FakeDevice::ReadHandler handler) {
        device->onRead = handler;
        device->onControl = [handler](DWORD, auto request) { handler(std::move(request)); };
    }

    UniqueHandle file;

    void SetUp() override {
        FakeDeviceTest::SetUp();
        file = OpenFile();
        OnRequest([this](auto request) { device->Queue(std::move(request)); });
    }
    void TearDown() override {
        file.Reset();
        FakeDeviceTest::TearDown();
    }
};

TEST_P(OverlappedRequests, ACompletionAtOnceIsReportedByTheCallAndByTheOverlapped) {
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
        OnRequest([&row](auto request) {
            EXPECT_EQ(request->Size(), 4u);
            EXPECT_TRUE(request->CompleteWith(row.sent));
        });
        Request read;
        EXPECT_EQ(read.Start(file.Get()), row.error);
        EXPECT_EQ(read.count, row.count);
        EXPECT_EQ(read.buffer, row.received);
        EXPECT_TRUE(read.IsSignalled());
        EXPECT_EQ(read.Result(), row.error);
        EXPECT_EQ(read.count, row.count);
    }
}

TEST_P(OverlappedRequests, APendingRequestCompletesOnceWhenTheDeviceHasData) {
    Request read;
    EXPECT_EQ(read.Start(file.Get()), ERROR_IO_PENDING);
    EXPECT_EQ(read.count, 0u);
    EXPECT_FALSE(read.IsSignalled()) << "a request resets its event";
    EXPECT_EQ(read.Result(), ERROR_IO_INCOMPLETE);

    const auto request = device->Take();
    ASSERT_TRUE(request);
    std::thread completer([&] { EXPECT_TRUE(request->CompleteWith(Bytes({7, 8}))); });
    EXPECT_EQ(read.Result(true), ERROR_SUCCESS);
    EXPECT_EQ(read.count, 2u);
    EXPECT_EQ(read.buffer, Bytes({7, 8, 0xEE, 0xEE}));
    EXPECT_TRUE(read.IsSignalled());
    completer.join();
    EXPECT_FALSE(request->CompleteWith(Bytes({9}))) << "a request ends once";
    EXPECT_FALSE(request->IsCancelled());
    EXPECT_EQ(read.buffer, Bytes({7, 8, 0xEE, 0xEE}));
}

TEST_P(OverlappedRequests, TheDevicesFailureIsTheResult) {
    for (const DWORD error : {ERROR_INVALID_DATA, DWORD{433}, DWORD{0xFFFF}}) {
        Request atOnce, later;
        OnRequest([error](auto request) { request->Fail(error); });
        EXPECT_EQ(atOnce.Start(file.Get()), error);
        OnRequest([this](auto request) { device->Queue(std::move(request)); });
        EXPECT_EQ(later.Start(file.Get()), ERROR_IO_PENDING);
        EXPECT_TRUE(device->Take()->Fail(error));
        EXPECT_EQ(later.Result(true), error);
        EXPECT_TRUE(later.IsOverWithoutBytes());
    }
}

// What ends a request without an answer. Afterwards the device is too late.
TEST_P(OverlappedRequests, ACancelledRequestIsAbortedAndItsBufferLeftAlone) {
    using Cancel = void (*)(UniqueHandle&);
    const Cancel cancels[] = {
        [](UniqueHandle& handle) { EXPECT_TRUE(CancelIo(handle.Get())); },
        [](UniqueHandle& handle) { EXPECT_TRUE(CancelIoEx(handle.Get(), nullptr)); },
        [](UniqueHandle& handle) { handle.Reset(); },
    };
    for (const Cancel cancel : cancels) {
        UniqueHandle cancelled = OpenFile();
        Request first, second, elsewhere;
        EXPECT_EQ(elsewhere.Start(file.Get()), ERROR_IO_PENDING);
        EXPECT_EQ(first.Start(cancelled.Get()), ERROR_IO_PENDING);
        EXPECT_EQ(second.Start(cancelled.Get()), ERROR_IO_PENDING);
        cancel(cancelled);
        EXPECT_FALSE(elsewhere.IsSignalled());
        EXPECT_TRUE(device->Take()->CompleteWith({}));
        for (Request* read : {&first, &second}) {
            EXPECT_TRUE(read->IsOverWithoutBytes());
            EXPECT_EQ(read->Result(true), ERROR_OPERATION_ABORTED);
            EXPECT_EQ(read->count, 0u);
            const auto request = device->Take();
            EXPECT_TRUE(request->IsCancelled());
            EXPECT_FALSE(request->CompleteWith(Bytes({1, 2})));
            EXPECT_TRUE(read->IsOverWithoutBytes());
        }
    }
    EXPECT_TRUE(CancelIo(file.Get())) << "nothing to cancel is no failure";
}

TEST_P(OverlappedRequests, AThreadsCancelIoAndEndCancelItsOwnOnly) {
    Request own, others;
    EXPECT_EQ(own.Start(file.Get()), ERROR_IO_PENDING);
    std::thread([&] {
        EXPECT_TRUE(CancelIo(file.Get()));
        EXPECT_EQ(others.Start(file.Get()), ERROR_IO_PENDING);
    }).join();
    EXPECT_EQ(others.Result(), ERROR_OPERATION_ABORTED);
    EXPECT_EQ(own.Result(), ERROR_IO_INCOMPLETE);
    EXPECT_TRUE(device->Take()->CompleteWith(Bytes({1})));
    EXPECT_EQ(own.Result(), ERROR_SUCCESS);
}

TEST_P(OverlappedRequests, TheEventOutlivesItsHandleWhileTheRequestIsPending) {
    Request read;
    const UniqueHandle named = ManualEvent(false, "QuorvelReadEvent");
    UniqueHandle closed = Opened("QuorvelReadEvent");
    read.overlapped.hEvent = closed.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_IO_PENDING);
    closed.Reset();
    EXPECT_TRUE(device->Take()->CompleteWith({}));
    EXPECT_TRUE(IsSignalled(named));
}

TEST_P(OverlappedRequests, ARequestThatCannotStartLeavesEverythingAsItWas) {
    const UniqueHandle writeOnly = OpenFile(GENERIC_WRITE);
    const UniqueHandle owner = ManualEvent(true, "QuorvelReadRights");
    const UniqueHandle waitOnly = Opened("QuorvelReadRights", SYNCHRONIZE);
    Request read;
    EXPECT_EQ(read.Start(writeOnly.Get()), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(read.IsSignalled());
    read.overlapped.hEvent = file.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_INVALID_HANDLE);
    read.overlapped.hEvent = waitOnly.Get();
    EXPECT_EQ(read.Start(file.Get()), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsSignalled(waitOnly));
    EXPECT_EQ(Start(file.Get(), read.buffer.data(), nullptr, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Start(file.Get(), nullptr, nullptr, &read.overlapped), ERROR_NOACCESS);
    EXPECT_EQ(read.overlapped.Internal, 0u);
    EXPECT_FALSE(device->Take()) << "the device saw none of them";
}

TEST_P(OverlappedRequests, CancelIoExCancelsOneOfAnyThread) {
    Request read, others;
    EXPECT_EQ(read.Start(file.Get()), ERROR_IO_PENDING);
    EXPECT_EQ(others.Start(file.Get()), ERROR_IO_PENDING);
    const UniqueHandle elsewhere = OpenFile();
    EXPECT_EQ(ErrorUnless(CancelIoEx(elsewhere.Get(), nullptr)), ERROR_NOT_FOUND);
    std::thread([&] { EXPECT_TRUE(CancelIoEx(file.Get(), &read.overlapped)); }).join();
    EXPECT_EQ(read.Result(), ERROR_OPERATION_ABORTED);
    EXPECT_EQ(others.Result(), ERROR_IO_INCOMPLETE);
    EXPECT_EQ(ErrorUnless(CancelIoEx(file.Get(), &read.overlapped)), ERROR_NOT_FOUND);
    EXPECT_TRUE(CancelIoEx(file.Get(), nullptr));
    EXPECT_EQ(others.Result(), ERROR_OPERATION_ABORTED);
}

INSTANTIATE_TEST_SUITE_P(Kinds, OverlappedRequests, ::testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Controls" : "Reads"; });

}  // namespace
}  // namespace quorvel
