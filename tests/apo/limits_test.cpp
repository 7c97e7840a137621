// What a processing object does with profiles that ask for too much: it refuses that, and plays on.
#include <malloc.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <random>
#include <thread>

#include "blocks/limiter_block.h"
#include "blocks/stream_expander_block.h"
#include "kinds/block_kinds.h"
#include "tests/apo/apo_test.h"
#include "tests/support/allocation_faults.h"

namespace quorvel::test {
namespace {

constexpr float kCeilingDb = -12.0f;  // of the limiter at work; the input has -6 dB

class Limits : public ApoTest {
  protected:
    void Start(QuorvelAudioProfile& profile) {
        Store(profile);
        object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        stream.emplace(*object.Get(), 2, 2);
        ASSERT_EQ(stream->Lock(), S_OK);
    }
    void TearDown() override {
        if (stream) stream->Unlock();
        stream.reset();
        object = {};
        ApoTest::TearDown();
    }
    void Store(QuorvelAudioProfile& profile) {
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        WaitUntilHeard();
    }
    void WaitUntilHeard() {
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
    }

    // Of the sound once delay lines and envelopes have settled, in decibels.
    double SettledGain() {
        for (int i = 0; i < 50; ++i)
            stream->Gain();
        return 20.0 * std::log10(stream->Gain());
    }

    QuorvelAudioBlocksChain& Chain(QuorvelAudioProfile& profile) const {
        return *profile.GetChain(row.chain, true);
    }
    template <typename Record>
    QuorvelAudioBlock Block(QuorvelAudioProfile& profile, const GUID& kind, std::uint32_t number,
                            Record record) const {
        QuorvelAudioBlock block(&profile, &Chain(profile), kind, NumberedGuid(number));
        block.SetData(&record, sizeof(record));
        return block;
    }
    QuorvelAudioBlock Limiter(QuorvelAudioProfile& profile, float dB, std::uint32_t aheadMs) const {
        return Block(profile, kLimiterBlockTypeId, 10, LimiterParameters{dB, aheadMs, 10});
    }
    // A profile of one limiter.
    QuorvelAudioProfile LimiterProfile(float dB, std::uint32_t aheadMs) const {
        QuorvelAudioProfile profile = GainProfile(row, 0.0f);
        Chain(profile).blocks.Item(0) = Limiter(profile, dB, aheadMs);
        return profile;
    }

    const ClassRow& row = kClassRows[0];
    ComReference<IAudioProcessingObject> object;
    std::optional<EngineStream> stream;
};

TEST_F(Limits, AChangedRecordBeyondThemIsNotKept) {
    QuorvelAudioProfile profile = LimiterProfile(kCeilingDb, 1);
    Start(profile);
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
    QuorvelAudioBlock most = Limiter(profile, kCeilingDb - 1.0f, 1000);
    EXPECT_EQ(application.SetAudioBlock(&most), 0u);
    WaitUntilHeard();
    EXPECT_LT(stream->Gain(), 0.01) << "nothing comes out for a second";
    for (int i = 0; i < 100; ++i)
        stream->Gain();
    EXPECT_NEAR(SettledGain(), -7.0, 0.1);
    QuorvelAudioBlock beyond = Limiter(profile, -40.0f, 1001);
    EXPECT_EQ(application.SetAudioBlock(&beyond), 0u);
    WaitUntilHeard();
    EXPECT_NEAR(SettledGain(), -7.0, 0.1);
    stream->Unlock();
    ASSERT_EQ(stream->Lock(), S_OK);
    for (int i = 0; i < 100; ++i)
        stream->Gain();
    EXPECT_NEAR(SettledGain(), -7.0, 0.1) << "the profile has the record that is in use";
}

// A whole profile, and a block that is added, have their defaults where a record goes too far.
TEST_F(Limits, ABlockOfAProfileBeyondThemHasItsDefaults) {
    QuorvelAudioProfile profile = LimiterProfile(kCeilingDb, 1);
    Start(profile);
    QuorvelAudioProfile beyond = LimiterProfile(kCeilingDb, 5000);
    Store(beyond);
    EXPECT_NEAR(SettledGain(), 0.0, 0.1);
    Store(profile);
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
    QuorvelAudioBlock wide =
        Block(profile, kStreamExpanderBlockTypeId, 11, StreamExpanderParameters{500000, 0});
    _QuorvelAudioBlockLink link{profile.id, row.chain, wide.id, NumberedGuid(10)};
    EXPECT_EQ(application.SetAudioBlock(&wide), 0u);
    EXPECT_EQ(application.SetProfileLink(&link), 0u);
    WaitUntilHeard();
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
}

TEST_F(Limits, BlocksAndLinksBeyondThemAreIgnored) {
    QuorvelAudioProfile profile = GainProfile(row, -6.0f);
    QuorvelAudioBlocksChain& chain = Chain(profile);
    for (std::uint32_t number = 11; number < 10 + 4096; ++number) {
        AddGain(profile, row.chain, NumberedGuid(number), 0.0f);
        _QuorvelAudioBlockLink link{profile.id, row.chain, NumberedGuid(number - 1),
                                    NumberedGuid(number)};
        chain.links.Add(link);
    }
    Start(profile);
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
    QuorvelAudioBlock loose =
        Block(profile, kGainBlockTypeId, 9000, -3.0f);  // would make the graph invalid
    EXPECT_EQ(application.SetAudioBlock(&loose), 0u);
    WaitUntilHeard();
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
    _QuorvelAudioBlockLink first = chain.links.Item(0);
    while (chain.links.Count() < 16384)
        chain.links.Add(first);
    Store(profile);
    std::swap(first.sourceBlockId, first.destinationBlockId);  // would be a cycle
    EXPECT_EQ(application.SetProfileLink(&first), 0u);
    WaitUntilHeard();
    EXPECT_NEAR(SettledGain(), -6.0, 0.1);
}

double ThreadMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double HeapMegabytes() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

// A record of a kind's own shape, some with room for a list, whose 32-bit numbers are small but for
// one that an attacker would try.
std::vector<std::uint8_t> HostileRecord(const BlockKind& kind, std::mt19937& random) {
    constexpr std::uint32_t kSmall[] = {0, 1, 2, 63, 64, 1000};
    constexpr std::uint32_t kHostile[] = {65,         1001,       500000,    0x7FFFFFF0,
                                          0x80000000, 0xFFFFFFFF, 0x7F800000};
    const std::size_t tail = random() % 3 == 0 ? 14 * 1024 : 0;
    const std::size_t fixed = (kind.smallestRecord + 3) / 4;
    std::vector<std::uint32_t> numbers(fixed + tail / 4);
    for (std::uint32_t& number : numbers)
        number = kSmall[random() % std::size(kSmall)];
    if (fixed > 0) numbers[random() % fixed] = kHostile[random() % std::size(kHostile)];
    std::vector<std::uint8_t> record(numbers.size() * sizeof(std::uint32_t));
    if (!record.empty()) std::memcpy(record.data(), numbers.data(), record.size());
    return record;
}

// Behind an expander, a running block of each kind gets one hostile record after the other: no
// buffer takes long, no allocation of the real-time thread is large, and memory that was taken
// comes back.
TEST_F(Limits, HostileRecordsNeitherStallNorGrow) {
    constexpr double kLongest = 50.0;           // ms of the thread's own time
    constexpr std::size_t kLargest = 32 << 20;  // bytes
    constexpr double kGrowth = 64.0;            // MB
    std::mt19937 random(7);
    const double before = HeapMegabytes();
    for (int run = 0; run < 2 * static_cast<int>(kBlockKinds.size()); ++run) {
        const BlockKind& kind = kBlockKinds[static_cast<std::size_t>(run / 2)];
        const std::uint32_t width = run % 2 == 0 ? 2 : 64;
        SCOPED_TRACE(testing::Message() << kind.name << " of " << width << " channels");
        QuorvelAudioProfile profile = GainProfile(row, 0.0f);
        Chain(profile).blocks.Item(0) =
            Block(profile, kStreamExpanderBlockTypeId, 10, StreamExpanderParameters{width, 1});
        QuorvelAudioBlock target(&profile, &Chain(profile), kind.typeId, NumberedGuid(11));
        Chain(profile).blocks.Add(target);
        _QuorvelAudioBlockLink link{profile.id, row.chain, NumberedGuid(10), NumberedGuid(11)};
        Chain(profile).links.Add(link);
        run == 0 ? Start(profile) : Store(profile);
        for (int round = 0; round < 120; ++round) {
            auto record = HostileRecord(kind, random);
            target.SetData(record.data(), static_cast<unsigned>(record.size()));
            ASSERT_EQ(application.SetAudioBlock(&target), 0u);
            WaitUntilHeard();
            const AllocationFaults allocations;
            for (int buffer = 0; buffer < 3; ++buffer) {
                const double start = ThreadMilliseconds();
                stream->Gain();
                EXPECT_LT(ThreadMilliseconds() - start, kLongest) << round;
            }
            EXPECT_LT(allocations.Largest(), kLargest) << round;
            EXPECT_LT(HeapMegabytes() - before, kGrowth) << round;
        }
    }
}

}  // namespace
}  // namespace quorvel::test
