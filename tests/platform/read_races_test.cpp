// A device that completes reads while their client cancels, closes and reuses the buffer.
#include <thread>

#include "tests/support/fake_device.h"

namespace quorvel {
namespace {

using platform::UniqueHandle;
using test::Bytes;

constexpr std::byte kOwnedByClient{0xC1};
constexpr std::byte kSent{0xDE};

// A thread that completes whatever is queued as fast as it can.
class Completer {
  public:
    explicit Completer(test::FakeDevice& fakeDevice) : device(fakeDevice) {}
    ~Completer() {
        stop = true;
        thread.join();
    }

    // Reads that this thread, not a cancellation, has ended. Read once the thread is idle.
    std::atomic<int> delivered = 0;

  private:
    void Run() {
        const std::vector<std::byte> sent(16, kSent);
        while (!stop)
            if (const auto request = device.TakeRead())
                delivered += request->CompleteWith(sent) ? 1 : 0;
            else
                std::this_thread::yield();
    }

    test::FakeDevice& device;
    std::atomic<bool> stop = false;
    std::thread thread{[this] { Run(); }};
};

class ReadRaces : public test::FakeDeviceTest {
  protected:
    struct Tally {
        int delivered = 0;
        int cancelled = 0;
    };

    // Reads `rounds` times and lets `cancel` end each read, while a Completer works. Whoever won,
    // the read is over then, and nobody writes to the buffer any more.
    template <typename Cancel>
    Tally Storm(int rounds, Cancel cancel) {
        Tally tally;
        UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        std::vector<std::byte> buffer(16);
        for (int round = 0; round < rounds; ++round) {
            UniqueHandle file = OpenFile();
            OVERLAPPED overlapped{};
            overlapped.hEvent = event.Get();
            ReadFile(file.Get(), buffer.data(), 16, nullptr, &overlapped);
            if (round % 3 == 0) std::this_thread::yield();
            cancel(file);
            DWORD count = 99;
            const bool delivered =
                GetOverlappedResult(file.Get(), &overlapped, &count, FALSE) != FALSE;
            if (!delivered) {
                EXPECT_EQ(GetLastError(), ERROR_OPERATION_ABORTED);
            }
            EXPECT_EQ(count, delivered ? 16u : 0u);
            EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
            if (delivered) {
                EXPECT_EQ(buffer.front(), kSent);
            }
            std::fill(buffer.begin(), buffer.end(), kOwnedByClient);
            std::this_thread::yield();
            EXPECT_EQ(buffer.back(), kOwnedByClient);
            ++(delivered ? tally.delivered : tally.cancelled);
        }
        return tally;
    }

    // Both sides agree on who ended which read. Nothing is queued any more when this is called,
    // or only what is cancelled.
    static void ExpectAgreement(const Tally& tally, const Completer& completer) {
        while (completer.delivered < tally.delivered)
            std::this_thread::yield();
        EXPECT_EQ(completer.delivered, tally.delivered);
    }
};

constexpr int kRounds = 3000;

TEST_F(ReadRaces, CancelIoAgainstCompletion) {
    Completer completer(*device);
    const Tally tally =
        Storm(kRounds, [](UniqueHandle& file) { EXPECT_TRUE(CancelIo(file.Get())); });
    ExpectAgreement(tally, completer);
}

TEST_F(ReadRaces, CloseAgainstCompletion) {
    Completer completer(*device);
    const Tally tally = Storm(kRounds, [](UniqueHandle& file) { file.Reset(); });
    ExpectAgreement(tally, completer);
}

// The client stops a thread that keeps a read pending, as one closes a device with listeners.
TEST_F(ReadRaces, AThreadOfReadsIsStoppedAgainAndAgain) {
    struct Client {
        UniqueHandle file, stop{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
        UniqueHandle readEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    };
    const auto run = [](LPVOID parameter) -> DWORD {
        auto& client = *static_cast<Client*>(parameter);
        const HANDLE handles[] = {client.stop.Get(), client.readEvent.Get()};
        OVERLAPPED overlapped{};
        overlapped.hEvent = client.readEvent.Get();
        std::byte buffer[16] = {};
        do {
            ReadFile(client.file.Get(), buffer, sizeof(buffer), nullptr, &overlapped);
        } while (WaitForMultipleObjects(2, handles, FALSE, INFINITE) != WAIT_OBJECT_0);
        CancelIo(client.file.Get());
        return 0;
    };
    Completer completer(*device);
    for (int round = 0; round < 300; ++round) {
        Client client;
        client.file = OpenFile();
        const UniqueHandle thread(CreateThread(nullptr, 0, run, &client, 0, nullptr));
        std::this_thread::yield();
        SetEvent(client.stop.Get());
        ASSERT_EQ(WaitForSingleObject(thread.Get(), 60000), WAIT_OBJECT_0);
    }
}

}  // namespace
}  // namespace quorvel
