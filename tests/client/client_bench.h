// A simulated driver, a listener that remembers, and a sample profile.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

#include "client/quorvel_audio_device.h"
#include "kinds/block_kinds.h"
#include "platform/simulation/driver/simulated_driver.h"
#include "profile/quorvel_audio_block.h"
#include "tests/support/handles.h"
#include "tests/support/random_profile.h"

namespace quorvel::test {

inline constexpr WCHAR kPath[] = u"\\\\?\\Quorvel#Device";

// A driver for the length of a test; in the end all handles must be closed.
class ClientTest : public HandleBalance {
  protected:
    void SetUp() override {
        HandleBalance::SetUp();
        driver.emplace(kPath);
    }
    void TearDown() override {
        driver.reset();
        HandleBalance::TearDown();
    }
    simulation::DriverCore& Core() { return driver->Core(); }

    std::optional<simulation::SimulatedDriver> driver;
};

struct HeardEvent {
    SYSTEMTIME time;
    QuorvelDriverEvents kind;
    std::byte* data;
};

class Recorder : public IQuorvelAudioDeviceEventsListener {
  public:
    void OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents kind, void* data) override {
        const std::lock_guard lock(mutex);
        heard.push_back({time, kind, static_cast<std::byte*>(data)});
        changed.notify_all();
    }
    bool OnQuorvelAudioDeviceRemoval() override {
        const std::lock_guard lock(mutex);
        ++removals;
        changed.notify_all();
        return acceptsRemoval;
    }

    // Waits for that many events and questions about removal, and tells the events.
    std::vector<HeardEvent> WaitFor(std::size_t events, int questions = 0) {
        std::unique_lock lock(mutex);
        EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(60), [&] {
            return heard.size() >= events && removals >= questions;
        }));
        return heard;
    }
    int Removals() {
        const std::lock_guard lock(mutex);
        return removals;
    }

    bool acceptsRemoval = false;

  private:
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<HeardEvent> heard;
    int removals = 0;
};

// Adds a block of a known kind with `size` bytes of data.
inline void AddBlock(QuorvelAudioProfile& profile, DWORD chainId, std::uint32_t number,
                     unsigned size) {
    QuorvelAudioBlocksChain& chain = *profile.GetChain(chainId, true);
    QuorvelAudioBlock block(&profile, &chain, kBlockKinds[0].typeId, NumberedGuid(number));
    std::vector<std::uint8_t> data(size, static_cast<std::uint8_t>(number));
    block.SetData(data.data(), size);
    chain.blocks.Add(block);
}

inline void AddLink(QuorvelAudioProfile& profile, DWORD chainId, std::uint32_t source,
                    std::uint32_t destination) {
    _QuorvelAudioBlockLink link{profile.id, chainId, NumberedGuid(source),
                                NumberedGuid(destination)};
    profile.GetChain(chainId, true)->links.Add(link);
}

// Profile 1: two chains, blocks 11 and 12 linked in the first, one path.
inline void FillSample(QuorvelAudioProfile& profile) {
    profile.id = NumberedGuid(1);
    profile.AddPath(u"C:\\Games\\arena.exe");
    AddBlock(profile, 1, 11, 40);
    AddBlock(profile, 1, 12, 3);
    AddLink(profile, 1, 11, 12);
    profile.GetChain(2, true);
}

}  // namespace quorvel::test
