// Every allocation of a lock, and of an edit while audio runs, fails once.
#include <array>
#include <cmath>
#include <span>
#include <thread>

#include "blocks/limiter_block.h"
#include "blocks/stereo_expander_block.h"
#include "blocks/stream_expander_block.h"
#include "client/control_codes.h"
#include "dsp/biquad/filter_band.h"
#include "platform/random.h"
#include "tests/apo/apo_test.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/same_bits.h"

namespace quorvel::test {
namespace {

#pragma pack(push, 1)
struct OneBand {
    std::uint32_t count = 1;
    FilterBand band{1000.0f, 1.0f, BandwidthMode::Q, 6.0f};
};
#pragma pack(pop)

class MemoryShortage : public ApoTest {
  protected:
    template <typename Record>
    static QuorvelAudioBlock Add(QuorvelAudioProfile& profile, std::uint32_t number,
                                 const GUID& kind, Record record) {
        QuorvelAudioBlocksChain& chain = *profile.GetChain(1, true);
        QuorvelAudioBlock block(&profile, &chain, kind, NumberedGuid(number));
        block.SetData(&record, sizeof(record));
        chain.blocks.Add(block);
        return block;
    }
    static void Link(QuorvelAudioProfile& profile, std::uint32_t source, std::uint32_t end) {
        _QuorvelAudioBlockLink link{profile.id, 1, NumberedGuid(source), NumberedGuid(end)};
        profile.GetChain(1, true)->links.Add(link);
    }

    // Blocks that allocate, mixed inputs of two widths, and an output that needs an adapter:
    // 10 feeds 11 (a filter) and 13 (wider), 14 mixes the two, 15 makes a pair of it, 12 limits.
    static QuorvelAudioProfile RichProfile(const ClassRow& row) {
        QuorvelAudioProfile profile;
        profile.id = row.isStream ? NumberedGuid(1) : kEndpointProfileId;
        profile.AddPath(kProgramPath);
        Add(profile, 10, kGainBlockTypeId, -6.0f);
        Add(profile, 11, kPeakingEQFilterBlockTypeId, OneBand());
        Add(profile, 12, kLimiterBlockTypeId, LimiterParameters{-1.0f, 1, 50});
        Add(profile, 13, kStreamExpanderBlockTypeId, StreamExpanderParameters{4, 0});
        Add(profile, 14, kMixerBlockTypeId, 0);
        Add(profile, 15, kStereoExpanderBlockTypeId, StereoExpanderParameters());
        for (const auto& [source, end] :
             {std::pair{10, 11}, {10, 13}, {11, 14}, {13, 14}, {14, 15}, {15, 12}})
            Link(profile, static_cast<std::uint32_t>(source), static_cast<std::uint32_t>(end));
        return profile;
    }

    static HRESULT LockSeeded(EngineStream& stream) {
        platform::SeedRand(5);
        return stream.Lock();
    }

    // What comes out of two buffers of a quiet sine.
    static std::vector<float> Sound(EngineStream& stream) {
        std::vector<float> sound;
        platform::SeedRand(6);
        for (int buffer = 0; buffer < 2; ++buffer) {
            for (std::size_t i = 0; i < stream.in.size(); ++i)
                stream.in[i] = 0.1f * std::sin(0.03f * static_cast<float>(i));
            stream.Process();
            sound.insert(sound.end(), stream.out.begin(), stream.out.end());
        }
        return sound;
    }

    // Calls the object's listener on this thread, as its events thread would.
    static void Tell(IAudioProcessingObject& object, QuorvelDriverEvents event,
                     std::uint32_t block = 0, std::uint32_t end = 0) {
        std::array<std::byte, 64> payload{};
        const auto put = [&](std::size_t offset, const auto& value) {
            std::memcpy(payload.data() + offset, &value, sizeof(value));
        };
        put(0, NumberedGuid(1));
        put(24, NumberedGuid(block));
        put(40, NumberedGuid(end));
        put(56, DWORD{1});
        static_cast<APOLFXOUT&>(object).OnQuorvelAudioDeviceEvent({}, event, payload.data());
    }
};

TEST_F(MemoryShortage, RefusesTheLockOrPlaysTheWholeChain) {
    const struct {
        const ClassRow& row;
        DWORD in, out;
    } cases[] = {{kClassRows[0], 2, 2}, {kClassRows[0], 6, 2}, {kClassRows[1], 2, 6}};
    for (const auto& [row, in, out] : cases) {
        QuorvelAudioProfile profile = RichProfile(row);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        {
            const auto object = Make(*row.id);
            ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
            EngineStream stream(*object.Get(), in, out);
            ASSERT_EQ(LockSeeded(stream), S_OK);
            const auto whole = Sound(stream);
            stream.Unlock();
            std::size_t refused = 0;
            for (std::size_t failAt = 0, isOver = false; !isOver; ++failAt) {
                SCOPED_TRACE(testing::Message() << in << " to " << out << ", " << failAt);
                HRESULT result = E_FAIL;
                {
                    const AllocationFaults faults(failAt);
                    result = LockSeeded(stream);
                    isOver = !faults.HasFailed();
                }
                refused += result != S_OK;
                EXPECT_EQ(result, result == S_OK ? S_OK : E_OUTOFMEMORY);
                if (result == S_OK) ExpectSameBits(Sound(stream), whole);
                EXPECT_EQ(stream.Unlock() == S_OK, result == S_OK);
            }
            EXPECT_GT(refused, 50u);
        }
    }
}

// One edit of the rich chain: what the driver holds of it when the object hears of it.
struct Edit {
    const char* name = "";
    QuorvelDriverEvents event{};
    std::uint32_t block = 0;
    std::uint32_t end = 0;
    GUID kind{};                        // null: nothing is stored
    std::vector<std::uint32_t> record;  // of the stored block
};

// Without memory the sound goes on as it was, bit for bit, or as behind an edit that changes
// nothing: that configures the blocks too, and lets the stereo expander draw new noise. The next
// lock plays the chain before the edit or behind it.
TEST_F(MemoryShortage, LeavesTheRunningSoundAsItWas) {
    using Event = QuorvelDriverEvents;
    const Edit edits[] = {
        {"none", Event{}, 0, 0, {}, {}},
        {"a link that is there", Event::LinkAdded, 10, 11, {}, {}},
        {"block added", Event::BlockAdded, 20, 0, kGainBlockTypeId, {0xC0C00000}},
        {"wider", Event::BlockChanged, 13, 0, kStreamExpanderBlockTypeId, {8, 0}},
        {"other kind", Event::BlockChanged, 13, 0, kGainBlockTypeId, {0xC0C00000}},
        {"slower limiter", Event::BlockChanged, 12, 0, kLimiterBlockTypeId, {0xC0C00000, 3, 50}},
        {"block removed", Event::BlockRemoved, 12, 0, {}, {}},
        {"link added", Event::LinkAdded, 10, 12, {}, {}},
        {"link removed", Event::LinkRemoved, 13, 14, {}, {}},
        {"whole profile", Event::ProfileDataChanged, 10, 0, kGainBlockTypeId, {0xC1400000}},
    };
    const ClassRow& row = kClassRows[0];
    struct Outcome {
        std::vector<float> running, relocked;
        bool hasFailed = false;
    };
    const auto run = [&](const Edit& edit, std::size_t failAt) {
        EXPECT_EQ(application.ClearProfiles(), 0u);
        QuorvelAudioProfile profile = RichProfile(row);
        EXPECT_EQ(application.SetProfileData(&profile), 0u);
        const auto object = Make(*row.id);
        EXPECT_EQ(Initialize(*object.Get(), row), S_OK);
        EngineStream stream(*object.Get(), 2, 2);
        EXPECT_EQ(LockSeeded(stream), S_OK);
        Outcome outcome;
        Sound(stream);
        if (!(edit.kind == GUID_NULL)) {
            Core().Misbehave({.code = control::kGetAudioBlock, .refuse = 31});
            QuorvelAudioBlock block(&profile, profile.GetChain(1, false), edit.kind,
                                    NumberedGuid(edit.block));
            auto record = edit.record;
            block.SetData(record.data(), static_cast<unsigned>(record.size() * 4));
            EXPECT_EQ(application.SetAudioBlock(&block), 0u);
            while (!headset->driver.IsHeard())
                std::this_thread::yield();
            Core().Behave();
        }
        if (edit.event != Event{}) {
            const AllocationFaults faults(failAt);
            Tell(*object.Get(), edit.event, edit.block, edit.end);
            outcome.hasFailed = faults.HasFailed();
        }
        outcome.running = Sound(stream);
        stream.Unlock();
        EXPECT_EQ(LockSeeded(stream), S_OK);
        outcome.relocked = Sound(stream);
        stream.Unlock();
        return outcome;
    };
    const auto is = [](const std::vector<float>& a, const std::vector<float>& b) {
        return std::ranges::equal(a, b, [](float x, float y) { return SameBits(x, y); });
    };
    const auto isNear = [](const std::vector<float>& a, const std::vector<float>& b) {
        return std::ranges::equal(a, b, [](float x, float y) { return std::abs(x - y) < 1e-3f; });
    };
    const Outcome before = run(edits[0], AllocationFaults::kNever);
    const Outcome same = run(edits[1], AllocationFaults::kNever);
    for (const Edit& edit : std::span(edits).subspan(2)) {
        const Outcome after = run(edit, AllocationFaults::kNever);
        EXPECT_FALSE(is(after.running, before.running)) << edit.name;
        EXPECT_FALSE(is(after.relocked, before.relocked)) << edit.name;
        std::size_t kept = 0, failAt = 0;
        for (;; failAt += failAt < 100 ? 1 : 7) {
            SCOPED_TRACE(testing::Message() << edit.name << ", " << failAt);
            const Outcome now = run(edit, failAt);
            if (!now.hasFailed) break;
            const bool isKept =
                is(now.running, before.running) || isNear(now.running, same.running);
            kept += isKept;
            EXPECT_TRUE(isKept || is(now.running, after.running));
            EXPECT_TRUE(is(now.relocked, before.relocked) || is(now.relocked, after.relocked));
        }
        EXPECT_GT(kept, 0u) << edit.name << ", " << failAt;
    }
}

// A graph that missed a change is built anew with the next one, whatever that is about.
TEST_F(MemoryShortage, LetsTheGraphCatchUpWithTheNextChange) {
    using Event = QuorvelDriverEvents;
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, -6.0f);
    AddGain(profile, 1, NumberedGuid(11), -3.0f);
    Link(profile, 10, 11);
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
    std::size_t missed = 0;
    for (std::size_t failAt = 0, isOver = false; !isOver; ++failAt) {
        SCOPED_TRACE(failAt);
        const auto object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EngineStream stream(*object.Get(), 2, 2);
        ASSERT_EQ(stream.Lock(), S_OK);
        const auto gain = [&] { return 20.0 * std::log10(stream.Gain()); };
        {
            const AllocationFaults faults(failAt);
            Tell(*object.Get(), Event::BlockRemoved, 11);
            isOver = !faults.HasFailed();
        }
        const bool isMissed = std::abs(gain() + 9.0) < 0.05;
        missed += isMissed;
        EXPECT_TRUE(isMissed || std::abs(gain() + 6.0) < 0.05);
        Tell(*object.Get(), Event::LinkRemoved, 10, 12);
        EXPECT_NEAR(gain(), -6.0, 0.05);
        stream.Unlock();
    }
    EXPECT_GT(missed, 5u);
}

}  // namespace
}  // namespace quorvel::test
