// How the driver hears of the channels in use, whatever it does meanwhile.
#include <array>
#include <chrono>
#include <future>
#include <numeric>
#include <span>
#include <thread>

#include "apo/mask_queue.h"
#include "client/control_codes.h"
#include "tests/apo/apo_test.h"

namespace quorvel::test {
namespace {

using namespace std::chrono_literals;

std::vector<std::uint32_t> TakeAll(MaskQueue& queue) {
    std::vector<std::uint32_t> masks;
    while (const auto mask = queue.Take())
        masks.push_back(*mask);
    return masks;
}

TEST(MaskQueue, KeepsTheOrderAndBeyondItsRoomTheLast) {
    MaskQueue queue;
    for (const std::uint32_t count : {3u, MaskQueue::kRoom, MaskQueue::kRoom + 1, 5000u}) {
        std::vector<std::uint32_t> expected(std::min(count, MaskQueue::kRoom));
        std::iota(expected.begin(), expected.end(), 0u);
        if (count > MaskQueue::kRoom) expected.push_back(count - 1);
        for (std::uint32_t mask = 0; mask < count; ++mask)
            queue.Add(mask);
        EXPECT_EQ(TakeAll(queue), expected);
    }
    // What comes while the last one waits behind the others comes out behind them too.
    for (std::uint32_t mask = 0; mask <= MaskQueue::kRoom; ++mask)
        queue.Add(mask);
    EXPECT_EQ(queue.Take(), 0u);
    queue.Add(7);
    EXPECT_EQ(TakeAll(queue).back(), 7u);
}

TEST(MaskQueue, LosesNoOrderBetweenTwoThreads) {
    MaskQueue queue;
    constexpr std::uint32_t kLast = 200000;
    std::thread adding([&] {
        for (std::uint32_t mask = 1; mask <= kLast; ++mask)
            queue.Add(mask);
    });
    for (std::uint32_t before = 0; before != kLast;) {
        const auto mask = queue.Take();
        if (!mask) continue;
        ASSERT_GT(*mask, before);
        before = *mask;
    }
    adding.join();
    EXPECT_FALSE(queue.Take());
}

class ActiveChannels : public ApoTest {
  protected:
    void SetUp() override {
        ApoTest::SetUp();
        QuorvelAudioProfile profile = GainProfile(kClassRows[0], -6.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
    }

    // A buffer with signal on the channels of `mask`; 0 is one that the engine flags as silent.
    static void Play(EngineStream& stream, DWORD mask) {
        std::ranges::fill(stream.in, 0.0f);
        stream.in[0] = mask & 1 ? 0.5f : 0.0f;
        stream.in[1] = mask & 2 ? 0.5f : 0.0f;
        stream.Process(mask == 0 ? BUFFER_SILENT : BUFFER_VALID);
    }

    // The masks that the driver was told, of all objects so far.
    std::vector<DWORD> Told() {
        std::vector<DWORD> masks;
        for (const auto& notice : Core().GetStreamNotices())
            if (notice.code == control::kNoteActiveChannels)
                masks.push_back(simulation::LoadWord(notice.bytes, 0));
        return masks;
    }

    // Waits until the driver was told `mask` last, whether it has answered or not.
    bool IsTold(DWORD mask) {
        return ComesTrue([&] {
            const std::vector<DWORD> told = Told();
            return !told.empty() && told.back() == mask;
        });
    }

    static void WaitUntilUnloadable() {
        EXPECT_TRUE(ComesTrue([] { return DllCanUnloadNow() == S_OK; }));
    }
};

TEST_F(ActiveChannels, AreToldAgainWhenTheyResumeBehindSilenceOrAtALock) {
    const auto object = Make(*kClassRows[0].id);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[0]), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    for (int lock = 0; lock < 2; ++lock) {
        ASSERT_EQ(stream.Lock(), S_OK);
        for (const DWORD mask : {1u, 1u, 0u, 0u, 1u, 3u, 2u, 2u})
            Play(stream, mask);
        EXPECT_EQ(stream.Unlock(), S_OK);
    }
    EXPECT_EQ(Told(), (std::vector<DWORD>{1, 0, 1, 3, 2, 1, 0, 1, 3, 2}));
}

TEST_F(ActiveChannels, AreToldWhileTheStreamGoesOn) {
    const auto object = Make(*kClassRows[0].id);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[0]), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[0]), S_OK) << "which opens the driver anew";
    for (const DWORD mask : {1u, 2u}) {
        Play(stream, mask);
        ASSERT_TRUE(IsTold(mask));
    }
    stream.Unlock();
}

// A driver that does not answer keeps no buffer waiting; behind its silence it hears every change.
TEST_F(ActiveChannels, OfAStalledDriverReachItInOrder) {
    const auto object = Make(*kClassRows[0].id);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[0]), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    Core().Misbehave({.code = control::kNoteActiveChannels, .silent = true});
    Play(stream, 1);
    ASSERT_TRUE(IsTold(1));
    std::vector<DWORD> expected = {1};
    for (DWORD i = 0; i < 1000; ++i)
        expected.push_back(std::array{3u, 0u, 2u, 1u}[i % 4]);
    auto realTime = std::async(std::launch::async, [&] {
        for (const DWORD mask : std::span(expected).subspan(1))
            Play(stream, mask);
    });
    EXPECT_EQ(realTime.wait_for(60s), std::future_status::ready) << "the driver held audio up";
    Core().EndSilence();
    realTime.wait();
    EXPECT_EQ(stream.Unlock(), S_OK);
    EXPECT_EQ(Told(), expected);
    EXPECT_EQ(Core().GetStreamNotices().back().code, control::kNoteStreamUnlocked);
}

// The last reference comes back within its bound, whichever request the driver holds. A notice is
// waited for that long, and the object is gone once the driver has answered; the events thread
// gives its request up at once.
TEST_F(ActiveChannels, OrEventsOfAStalledDriverDoNotHoldTheLastRelease) {
    const struct {
        DWORD code;
        bool isWaitedFor;
    } cases[] = {{control::kNoteActiveChannels, true}, {control::kGetProfileData, false}};
    for (const auto& [code, isWaitedFor] : cases) {
        SCOPED_TRACE(code);
        auto object = Make(*kClassRows[0].id);
        ASSERT_EQ(Initialize(*object.Get(), kClassRows[0]), S_OK);
        {
            EngineStream stream(*object.Get(), 2, 2);
            ASSERT_EQ(stream.Lock(), S_OK);
            Core().Misbehave({.code = code, .silent = true});
            Play(stream, 1);
            QuorvelAudioProfile profile = GainProfile(kClassRows[0], -3.0f);
            ASSERT_EQ(application.SetProfileData(&profile), 0u);
            ASSERT_TRUE(ComesTrue([&] { return Core().IsSilent(); }));
        }
        const auto begin = std::chrono::steady_clock::now();
        object.Reset();
        const auto taken = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(taken >= std::chrono::milliseconds(kLongestReleaseMs - 50), isWaitedFor);
        EXPECT_LT(taken, std::chrono::milliseconds(kLongestReleaseMs + 2000));
        EXPECT_EQ(DllCanUnloadNow(), isWaitedFor ? S_FALSE : S_OK);
        Core().EndSilence();
        WaitUntilUnloadable();
    }
}

}  // namespace
}  // namespace quorvel::test
