// Changes of one block, of its record or its kind, and what the next lock plays of them.
#include <cmath>
#include <thread>

#include "client/control_codes.h"
#include "tests/apo/apo_test.h"
#include "tests/support/same_bits.h"

namespace quorvel::test {
namespace {

class BlockChanges : public ApoTest {
  protected:
    void SetUp() override {
        ApoTest::SetUp();
        profile = GainProfile(row, -6.0f);
        AddGain(profile, 1, NumberedGuid(11), -3.0f);
        _QuorvelAudioBlockLink link{profile.id, 1, NumberedGuid(10), NumberedGuid(11)};
        profile.GetChain(1, false)->links.Add(link);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        stream.emplace(*object.Get(), 2, 2);
    }
    void TearDown() override {
        stream->Unlock();
        stream.reset();
        object.Reset();
        ApoTest::TearDown();
    }

    // Stores a block with that kind and record and waits until the object has dealt with it.
    void Store(const GUID& kind, std::vector<float> record, unsigned bytes,
               std::uint32_t number = 10) {
        QuorvelAudioBlock block(&profile, profile.GetChain(1, false), kind, NumberedGuid(number));
        block.SetData(record.data(), bytes);
        // Not by SetAudioBlock, which stores known kinds only.
        std::vector<std::byte> packed(block.GetPackedSize());
        block.Pack(reinterpret_cast<_QuorvelAudioBlockInfo*>(packed.data()));
        ASSERT_EQ(application.GetSetData(control::kSetAudioBlock, packed.data(),
                                         static_cast<DWORD>(packed.size()), nullptr, 0, nullptr),
                  0u);
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
    }

    void ExpectGain(double decibels) {
        EXPECT_NEAR(20.0 * std::log10(stream->Gain()), decibels, 0.05);
    }
    void ExpectGainNowAndAtTheNextLock(double decibels) {
        ExpectGain(decibels);
        EXPECT_EQ(stream->Unlock(), S_OK);
        EXPECT_EQ(stream->Lock(), S_OK);
        ExpectGain(decibels);
    }

    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile;
    ComReference<IAudioProcessingObject> object;
    std::optional<EngineStream> stream;
};

TEST_F(BlockChanges, OfTheKindReplaceTheBlockBetweenItsNeighbours) {
    ASSERT_EQ(stream->Lock(), S_OK);
    ExpectGain(-9.0);
    // A foreign record would make the gain 10 dB.
    Store(kMixerBlockTypeId, {10.0f}, 4);
    ExpectGainNowAndAtTheNextLock(-3.0);
    Store(kGainBlockTypeId, {-12.0f}, 4);
    ExpectGainNowAndAtTheNextLock(-15.0);
    Store(kMixerBlockTypeId, {10.0f}, 4, 11);
    ExpectGainNowAndAtTheNextLock(-12.0);
    Store(kGainBlockTypeId, {-1.0f}, 4, 11);
    ExpectGainNowAndAtTheNextLock(-13.0);
}

TEST_F(BlockChanges, ThatTheBlockRefusesAreNotKept) {
    ASSERT_EQ(stream->Lock(), S_OK);
    Store(kGainBlockTypeId, {-12.0f}, 2);
    ExpectGainNowAndAtTheNextLock(-9.0);
    Store(kGainBlockTypeId, {-2.0f}, 4);
    ExpectGainNowAndAtTheNextLock(-5.0);
    Store(kGainBlockTypeId, {-12.0f}, 3);
    ExpectGainNowAndAtTheNextLock(-5.0);
    // Another kind has no record to keep: what it refuses leaves its defaults.
    Store(kPeakingEQFilterBlockTypeId, {-30.0f}, 2);
    ExpectGainNowAndAtTheNextLock(-3.0);
}

// A block of an unknown kind is not in the graph; with a known one it and its links are.
TEST_F(BlockChanges, ToAnUnknownKindAreIgnoredAndFromOneBringTheBlock) {
    ASSERT_EQ(stream->Lock(), S_OK);
    Store(NumberedGuid(99), {10.0f}, 4);
    ExpectGainNowAndAtTheNextLock(-9.0);
    EXPECT_EQ(stream->Unlock(), S_OK);
    stream.reset();
    object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    stream.emplace(*object.Get(), 2, 2);
    ASSERT_EQ(stream->Lock(), S_OK);
    ExpectGain(-3.0);
    Store(kGainBlockTypeId, {-12.0f}, 4);
    ExpectGainNowAndAtTheNextLock(-15.0);
}

// The object follows while it is not locked too.
TEST_F(BlockChanges, AheadOfTheFirstLockCount) {
    Store(kGainBlockTypeId, {-12.0f}, 2);
    ASSERT_EQ(stream->Lock(), S_OK);
    ExpectGain(-9.0);
    EXPECT_EQ(stream->Unlock(), S_OK);
    Store(kGainBlockTypeId, {-2.0f}, 4);
    Store(kGainBlockTypeId, {-12.0f}, 2);
    ASSERT_EQ(stream->Lock(), S_OK);
    ExpectGainNowAndAtTheNextLock(-5.0);
}

// The stop of a stream is told once for each lock, and not without one.
TEST_F(BlockChanges, DoNotMatterToTheNoticesOfALock) {
    const auto count = [&](DWORD code) {
        return std::ranges::count(Core().GetStreamNotices(), code, &simulation::StreamNotice::code);
    };
    EXPECT_EQ(stream->Unlock(), APOERR_ALREADY_UNLOCKED);
    for (int locks = 1; locks <= 3; ++locks) {
        EXPECT_EQ(stream->Lock(), S_OK);
        EXPECT_EQ(stream->Lock(), APOERR_APO_LOCKED);
        EXPECT_EQ(count(0x22B6E8), locks) << "the format";
        EXPECT_EQ(stream->Unlock(), S_OK);
        EXPECT_EQ(stream->Unlock(), APOERR_ALREADY_UNLOCKED);
        EXPECT_EQ(count(0x22B6EC), locks) << "the stop";
    }
}

}  // namespace
}  // namespace quorvel::test
