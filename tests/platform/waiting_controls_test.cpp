// Control requests for which the call itself waits.
#include <chrono>
#include <future>
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

constexpr DWORD kCode = CTL_CODE(FILE_DEVICE_UNKNOWN, 3000, METHOD_BUFFERED, FILE_READ_ACCESS);

class WaitingControls : public FakeDeviceTest {
  protected:
    struct Outcome {
        DWORD error = ERROR_SUCCESS;
        DWORD count = 99;
        std::vector<std::byte> out = Bytes({0xEE});
    };
    static Outcome Ask(HANDLE file) {
        Outcome outcome;
        outcome.error = ErrorUnless(DeviceIoControl(file, kCode, nullptr, 0, outcome.out.data(), 1,
                                                    &outcome.count, nullptr));
        return outcome;
    }

    // The next request that the device was given.
    std::shared_ptr<platform::DeviceRequest> Next() {
        for (;; std::this_thread::yield())
            if (auto request = device->Take()) return request;
    }

    WaitingControls() {
        device->onControl = [this](DWORD, auto request) { device->Queue(std::move(request)); };
    }
};

TEST_F(WaitingControls, AreOverWhenTheCallReturns) {
    for (const DWORD flags : {DWORD{0}, FILE_FLAG_OVERLAPPED}) {
        const UniqueHandle file(
            CreateFileW(kPath, GENERIC_READ, 0, nullptr, OPEN_EXISTING, flags, nullptr));
        auto outcome = std::async(std::launch::async, Ask, file.Get());
        const auto request = Next();
        EXPECT_EQ(outcome.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
        EXPECT_TRUE(request->CompleteWith(Bytes({7})));
        const auto [error, count, out] = outcome.get();
        EXPECT_EQ(error, ERROR_SUCCESS);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(out, Bytes({7}));
    }
}

// Both wait for the file, so that the first answer ends both calls.
TEST_F(WaitingControls, LoseAnAnswerOnAnOverlappedHandleWhenTwoAreUnderWay) {
    const UniqueHandle file = OpenFile();
    auto first = std::async(std::launch::async, Ask, file.Get());
    const auto firstRequest = Next();
    auto second = std::async(std::launch::async, Ask, file.Get());
    const auto secondRequest = Next();
    EXPECT_TRUE(secondRequest->CompleteWith(Bytes({8})));
    EXPECT_EQ(second.get().out, Bytes({8}));
    const Outcome lost = first.get();
    EXPECT_EQ(lost.error, ERROR_SUCCESS);
    EXPECT_EQ(lost.count, 0u);
    EXPECT_EQ(lost.out, Bytes({0xEE}));
    EXPECT_FALSE(firstRequest->CompleteWith(Bytes({7}))) << "too late";
}

// A handle that waits for every request itself takes an OVERLAPPED all the same.
TEST_F(WaitingControls, FillTheOverlappedOfAHandleThatWaits) {
    const UniqueHandle file(
        CreateFileW(kPath, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const UniqueHandle event = ManualEvent();
    OVERLAPPED overlapped{};
    overlapped.hEvent = event.Get();
    auto error = std::async(std::launch::async, [&] {
        std::byte out{};
        return ErrorUnless(
            DeviceIoControl(file.Get(), kCode, nullptr, 0, &out, 1, nullptr, &overlapped));
    });
    EXPECT_TRUE(Next()->CompleteWith(Bytes({7, 8})));
    EXPECT_EQ(error.get(), ERROR_MORE_DATA);
    EXPECT_EQ(overlapped.InternalHigh, 1u);
    EXPECT_TRUE(IsSignalled(event));
}

}  // namespace
}  // namespace quorvel
