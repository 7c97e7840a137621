// A device that completes reads while their client cancels, closes and reuses the buffer.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using namespace test;

constexpr std::byte kOwnedByClient{0xC1};
constexpr std::byte kSent{0xDE};

void Spin(int turns) {
    for (std::atomic<int> turn = 0; turn < turns;)
        ++turn;
}

// A thread that completes whatever is queued, a varying moment after it took it.
class Completer {
  public:
    explicit Completer(FakeDevice& fakeDevice) : device(fakeDevice) {}
    ~Completer() {
        stop = true;
        thread.join();
    }

    // Returns when the thread has taken `count` reads and is about to complete the last of them.
    void AwaitTaken(int count) const {
        while (taken < count)
            std::this_thread::yield();
    }

    // Reads that this thread, and no cancellation, ended.
    std::atomic<int> delivered = 0;

  private:
    void Run() {
        const std::vector<std::byte> sent(16, kSent);
        while (!stop) {
            const auto request = device.Take();
            if (!request) {
                std::this_thread::yield();  // leaves the queue's lock to the client
                continue;
            }
            Spin(++taken % 97 * 16);
            if (taken % 3 == 0) std::this_thread::yield();
            if (request->CompleteWith(sent)) ++delivered;
        }
    }

    FakeDevice& device;
    std::atomic<int> taken = 0;
    std::atomic<bool> stop = false;
    std::thread thread{[this] { Run(); }};
};

class ReadRaces : public FakeDeviceTest {};

// Whoever wins, the read is over after the cancellation, both sides agree on who ended it, and
// nobody writes to the buffer any more.
TEST_F(ReadRaces, CancellationAgainstCompletion) {
    Completer completer(*device);
    const UniqueHandle event = ManualEvent();
    std::vector<std::byte> buffer(16);
    int delivered = 0;
    for (int round = 1; round <= 4000; ++round) {
        UniqueHandle file = OpenFile();
        OVERLAPPED overlapped{};
        overlapped.hEvent = event.Get();
        ReadFile(file.Get(), buffer.data(), 16, nullptr, &overlapped);
        if (round % 8 != 0) completer.AwaitTaken(round);
        Spin(round % 61 * 16);
        if (round % 2 == 0)
            file.Reset();
        else
            EXPECT_TRUE(CancelIo(file.Get()));

        DWORD count = 99;
        const bool won = GetOverlappedResult(nullptr, &overlapped, &count, FALSE) != FALSE;
        EXPECT_TRUE(won || GetLastError() == ERROR_OPERATION_ABORTED);
        EXPECT_EQ(count, won ? 16u : 0u);
        EXPECT_TRUE(IsSignalled(event));
        EXPECT_EQ(buffer.front() == kSent, won);
        std::fill(buffer.begin(), buffer.end(), kOwnedByClient);
        delivered += won ? 1 : 0;
    }
    completer.AwaitTaken(4000);
    EXPECT_EQ(buffer, std::vector<std::byte>(16, kOwnedByClient));
    EXPECT_EQ(completer.delivered, delivered);
}

}  // namespace
}  // namespace quorvel
