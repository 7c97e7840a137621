// Requests that the driver holds: each gets its own answer, and none outlives the device.
#include <ctime>
#include <future>
#include <thread>

#include "tests/client/client_bench.h"
#include "tests/support/fake_device.h"
#include "tests/support/lacking_memory.h"

namespace quorvel::test {
namespace {

constexpr DWORD kAsk = 0x226EEC;
constexpr DWORD kRemovalName = 0x226F0C;

// A driver that tells the name of its removal event and holds every other request.
class PendingRequests : public FakeDeviceTest {
  protected:
    using Asked = std::future<std::pair<DWORD, int>>;  // result and the byte received

    PendingRequests() {
        device->onControl = [this](DWORD code, auto request) {
            if (code != kRemovalName) return device->Queue(std::move(request));
            request->CompleteWith(std::as_bytes(std::span(u"Removal")));
        };
        device->onRead = [](auto) {};  // until it is cancelled
    }

    // Asks on another thread, and waits until the driver has the request.
    std::shared_ptr<platform::DeviceRequest> Ask(QuorvelAudioDevice& client, Asked& asked) {
        asked = std::async(std::launch::async, [&client] {
            std::uint8_t byte = 0;
            const DWORD result = client.GetSetData(kAsk, nullptr, 0, &byte, 1, nullptr);
            return std::pair{result, int{byte}};
        });
        return Next();
    }

    std::shared_ptr<platform::DeviceRequest> Next() {
        for (;; std::this_thread::yield())
            if (auto request = device->Take()) return request;
    }

    // The request's result, which must come by itself.
    static DWORD Result(Asked& asked, platform::DeviceRequest& request) {
        const bool isThere = asked.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        EXPECT_TRUE(isThere);
        if (!isThere) request.Fail(1);
        return asked.get().first;
    }

    UniqueHandle removal = ManualEvent(false, "Global\\Removal");
    Recorder listener;
};

TEST_F(PendingRequests, GetTheirOwnAnswersInAnyOrder) {
    QuorvelAudioDevice client;
    ASSERT_EQ(client.Open(kPath, nullptr), 0u);
    Asked first, second;
    const auto firstRequest = Ask(client, first);
    const auto secondRequest = Ask(client, second);
    EXPECT_TRUE(secondRequest->CompleteWith(Bytes({2})));
    EXPECT_EQ(second.get(), (std::pair{DWORD{0}, 2}));
    EXPECT_EQ(client.GetError(), 0u);
    EXPECT_TRUE(firstRequest->CompleteWith(Bytes({1, 1})));
    EXPECT_EQ(first.get(), (std::pair{ERROR_MORE_DATA, 1}));
    EXPECT_EQ(client.GetError(), ERROR_MORE_DATA);
}

TEST_F(PendingRequests, AnAcceptedRemovalCancelsThemAndTheLastClosesTheHandle) {
    listener.acceptsRemoval = true;
    QuorvelAudioDevice client;
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(client.Open(kPath, &listener), 0u);
        Asked first, second;
        const auto firstRequest = Ask(client, first);
        const auto secondRequest = Ask(client, second);
        SetEvent(removal.Get());
        EXPECT_EQ(Result(first, *firstRequest), ERROR_OPERATION_ABORTED);
        EXPECT_EQ(Result(second, *secondRequest), ERROR_OPERATION_ABORTED);
        EXPECT_EQ(client.GetError(), ERROR_OPERATION_ABORTED);
        while (client.GetHandle() != INVALID_HANDLE_VALUE)
            std::this_thread::yield();
        EXPECT_EQ(client.ClearProfiles(), 13u);
        client.Close();
        EXPECT_EQ(device->openFiles, 0);
        ResetEvent(removal.Get());
    }
    // The next opening, without a thread, has nothing to be cancelled for.
    ASSERT_EQ(client.Open(kPath, nullptr), 0u);
    Asked asked;
    EXPECT_TRUE(Ask(client, asked)->CompleteWith(Bytes({3})));
    EXPECT_EQ(asked.get(), (std::pair{DWORD{0}, 3}));
}

TEST_F(PendingRequests, AnAcceptedRemovalLeavesTheOwnersRequestsAlone) {
    listener.acceptsRemoval = true;
    QuorvelAudioDevice owner, client;
    ASSERT_EQ(owner.Open(kPath, nullptr), 0u);
    ASSERT_EQ(client.Open(owner.GetHandle(), &listener), 0u);
    Asked owners, clients;
    const auto ownersRequest = Ask(owner, owners);
    const auto clientsRequest = Ask(client, clients);
    SetEvent(removal.Get());
    EXPECT_EQ(Result(clients, *clientsRequest), ERROR_OPERATION_ABORTED);
    EXPECT_TRUE(ownersRequest->CompleteWith(Bytes({4})));
    EXPECT_EQ(owners.get(), (std::pair{DWORD{0}, 4}));
    client.Close();
    EXPECT_EQ(device->openFiles, 1);
}

// A driver that does not return cannot be cancelled. Nothing turns round meanwhile.
TEST_F(PendingRequests, ARemovalWaitsForNoRequest) {
    std::promise<void> released;
    device->onControl = [&](DWORD code, auto request) {
        if (code == kRemovalName)
            return void(request->CompleteWith(std::as_bytes(std::span(u"Removal"))));
        device->Queue(request);
        released.get_future().wait();
        request->CompleteWith(Bytes({5}));
    };
    listener.acceptsRemoval = true;
    QuorvelAudioDevice client;
    ASSERT_EQ(client.Open(kPath, &listener), 0u);
    Asked asked;
    Ask(client, asked);
    SetEvent(removal.Get());
    while (client.GetHandle() != INVALID_HANDLE_VALUE)
        std::this_thread::yield();
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20) << "processor time of 200 ms";
    EXPECT_EQ(device->openFiles, 1) << "in use";
    released.set_value();
    EXPECT_EQ(asked.get(), (std::pair{DWORD{0}, 5}));
    EXPECT_EQ(device->openFiles, 0) << "closed by the request, the last to use it";
}

TEST_F(PendingRequests, CloseCancelsWhatACallbackWaitsFor) {
    struct Asker : Recorder {
        QuorvelAudioDevice* client = nullptr;
        std::promise<DWORD> result;
        bool OnQuorvelAudioDeviceRemoval() override {
            result.set_value(client->ClearProfiles());
            return true;
        }
    } asker;
    QuorvelAudioDevice client;
    asker.client = &client;
    ASSERT_EQ(client.Open(kPath, &asker), 0u);
    SetEvent(removal.Get());
    const auto request = Next();
    auto closed = std::async(std::launch::async, [&] { client.Close(); });
    auto result = asker.result.get_future();
    if (result.wait_for(std::chrono::seconds(20)) != std::future_status::ready) request->Fail(1);
    EXPECT_EQ(result.get(), ERROR_OPERATION_ABORTED);
}

TEST_F(PendingRequests, KeepAFewEvents) {
    QuorvelAudioDevice client;
    ASSERT_EQ(client.Open(kPath, nullptr), 0u);
    const std::size_t open = platform::OpenHandleCount();
    for (const std::size_t atOnce : {1u, 6u, 2u}) {
        std::vector<Asked> asked(atOnce);
        std::vector<std::shared_ptr<platform::DeviceRequest>> requests;
        for (Asked& one : asked)
            requests.push_back(Ask(client, one));
        for (std::size_t i = 0; i < atOnce; ++i) {
            EXPECT_TRUE(requests[i]->Fail(31));
            EXPECT_EQ(asked[i].get().first, 31u);
        }
        EXPECT_EQ(platform::OpenHandleCount() - open, atOnce == 1 ? 1u : 4u);
    }
    client.Close();
    EXPECT_EQ(platform::OpenHandleCount(), open - 1);
}

TEST_F(PendingRequests, WithoutMemoryFailWhole) {
    device->onControl = [](DWORD, auto request) { request->Fail(31); };
    DWORD result = ERROR_NOT_ENOUGH_MEMORY;
    for (std::size_t n = 0; result == ERROR_NOT_ENOUGH_MEMORY; ++n) {
        QuorvelAudioDevice client;
        ASSERT_EQ(client.Open(kPath, nullptr), 0u);
        const LackingMemory lack(n);
        result = client.ClearProfiles();
        EXPECT_EQ(result, lack.HasFailed() ? ERROR_NOT_ENOUGH_MEMORY : 31u) << n;
        EXPECT_EQ(client.GetError(), result);
    }
}

}  // namespace
}  // namespace quorvel::test
