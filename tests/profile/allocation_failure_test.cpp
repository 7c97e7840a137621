// Every allocation of an operation fails once; the outcome is what its header says, and nothing
// leaks.
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>

#include "client/quorvel_audio_device.h"
#include "profile/packed_profile.h"
#include "tests/profile/sample_record.h"
#include "tests/support/allocation_faults.h"

namespace quorvel::test {
namespace {

// Runs `operation` with the first, then the second, … allocation failing, until one run needs no
// more than succeed. Returns the number of failing runs.
std::size_t FailEachAllocation(const std::function<void(const AllocationFaults&)>& operation,
                               std::size_t first = 0) {
    for (std::size_t failAt = first;; ++failAt) {
        SCOPED_TRACE("allocation " + std::to_string(failAt));
        AllocationFaults faults(failAt);
        operation(faults);
        EXPECT_EQ(faults.Live(), 0u);
        if (!faults.HasFailed()) return failAt;
    }
}

// What FillSample asks for: the array and two strings of the paths, the chain, the block, its data
// and their copies in the list, the link.
constexpr std::size_t kFillingSample = 8;

bool HasNullPath(const QuorvelAudioProfile& profile) {
    for (unsigned i = 0; i < profile.PathsCount(); ++i)
        if (!profile.Path(i)) return true;
    return false;
}

TEST(AllocationFailure, EncodeProfileGivesNull) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    const std::size_t failures = FailEachAllocation([&](const AllocationFaults& faults) {
        const char* text = QuorvelAudioDevice::EncodeProfile(&profile);
        EXPECT_EQ(text == nullptr, faults.HasFailed());
        QuorvelAudioDevice::Free(const_cast<char*>(text));
    });
    EXPECT_EQ(failures, 2u);  // the record, the text
}

// The sample with more of everything, as readers leave it.
void FillLargeSample(QuorvelAudioProfile& profile) {
    FillSample(profile);
    for (const DWORD number : {7u, 8u, 9u})
        profile.GetChain(number, true);
    profile.AddPath(u"x");
    QuorvelAudioBlocksChain& chain = *profile.GetChain(6, false);
    chain.links.Item(0).profileId = chain.profileId;
    chain.links.Item(0).chainId = chain.id;
    for (int i = 0; i < 5; ++i) {
        chain.blocks.Add(chain.blocks.Item(0));
        chain.links.Add(chain.links.Item(0));
    }
}

// Decoding into an empty profile, and into one whose arrays must grow.
TEST(AllocationFailure, DecodeProfileGivesCode8OrANullPath) {
    QuorvelAudioProfile source;
    FillLargeSample(source);
    const char* const text = QuorvelAudioDevice::EncodeProfile(&source);
    for (const std::size_t first : {std::size_t{0}, kFillingSample}) {
        std::size_t codes = 0;
        const auto decode = [&](const AllocationFaults& faults) {
            QuorvelAudioProfile profile;
            if (first != 0) FillSample(profile);
            const DWORD result = QuorvelAudioDevice::DecodeProfile(text, &profile);
            const bool isRefused = result == ERROR_NOT_ENOUGH_MEMORY;
            codes += isRefused;
            EXPECT_EQ(faults.HasFailed(), isRefused || HasNullPath(profile));
            EXPECT_EQ(faults.HasFailed(), Describe(profile) != Describe(source));
            if (!faults.HasFailed()) return;
            EXPECT_EQ(QuorvelAudioDevice::DecodeProfile(text, &profile), DWORD{ERROR_SUCCESS});
            EXPECT_EQ(profile.chains.Count(), 4u);
        };
        EXPECT_GT(FailEachAllocation(decode, first), first + 15);
        EXPECT_GT(codes, 8u);
    }
    QuorvelAudioDevice::Free(const_cast<char*>(text));
}

TEST(AllocationFailure, VersionOneGivesCode8OrANullPath) {
    const ByteBuilder record = SampleRecord1();
    std::string outcomes;
    FailEachAllocation([&](const AllocationFaults& faults) {
        QuorvelAudioProfile profile;
        const DWORD result = UnpackProfile1(record.Span(), profile);
        const unsigned chains = profile.chains.Count();
        outcomes += HasNullPath(profile)                         ? 'n'
                    : result == ERROR_SUCCESS                    ? '.'
                    : result != ERROR_NOT_ENOUGH_MEMORY          ? '!'
                    : chains == 0                                ? 'c'
                    : profile.chains.Item(0).blocks.Count() == 0 ? 'b'
                                                                 : 'l';
        EXPECT_EQ(faults.HasFailed(), outcomes.back() != '.');
    });
    // Allocations: the strings aligned, array and two paths, chain, blocks and data, links.
    EXPECT_EQ(outcomes, "ccnncbbl.");
}

TEST(AllocationFailure, ProfileCopyLosesOnlyThePartThatHadNoMemory) {
    QuorvelAudioProfile source;
    FillSample(source);
    const auto copyWithoutPaths = [&] {
        AllocationFaults faults(0);
        QuorvelAudioProfile copy(source);
    };
    EXPECT_EXIT(copyWithoutPaths(), testing::KilledBySignal(SIGABRT), "");
    std::string outcomes;
    FailEachAllocation(
        [&](const AllocationFaults& faults) {
            QuorvelAudioProfile copy(source);
            outcomes += !copy.Path(0)                                        ? 'a'
                        : !copy.Path(1)                                      ? 'b'
                        : copy.chains.Count() == 0                           ? 'c'
                        : copy.chains.Item(0).blocks.Count() == 0            ? 'k'
                        : copy.chains.Item(0).blocks.Item(0).data == nullptr ? 'd'
                        : copy.chains.Item(0).links.Count() == 0             ? 'l'
                                                                             : '.';
            EXPECT_EQ(Describe(copy) == Describe(source), !faults.HasFailed());
            EXPECT_EQ(copy.PathsCount(), 2u);
        },
        1);
    EXPECT_EQ(outcomes, "abckdl.");
}

TEST(AllocationFailure, AssignmentOverAFilledProfileNeitherLeaksNorLosesItsArrays) {
    QuorvelAudioProfile source;
    FillLargeSample(source);
    FailEachAllocation(
        [&](const AllocationFaults& faults) {
            QuorvelAudioProfile target;
            FillSample(target);
            target = source;
            EXPECT_GE(target.chains.capacity, 2u);
            EXPECT_EQ(Describe(target) == Describe(source), !faults.HasFailed());
            if (target.chains.Count() != 0) target.SetChain(source.chains.Item(0));
        },
        kFillingSample + 1);  // after the target was filled and its array of paths allocated
}

TEST(AllocationFailure, AddPathIsFalseOnlyWhenTheArrayCannotGrow) {
    std::string outcomes;
    FailEachAllocation([&](const AllocationFaults& faults) {
        QuorvelAudioProfile profile;
        for (unsigned i = 0; i < 3; ++i)
            if (!profile.AddPath(u"p")) outcomes += static_cast<char>('0' + i);
        if (HasNullPath(profile)) outcomes += 'n';
        EXPECT_EQ(profile.PathsCount() == 3, !faults.HasFailed() || HasNullPath(profile));
    });
    // Allocations: array, string, string, array, string.
    EXPECT_EQ(outcomes, "0nn2n");
}

TEST(AllocationFailure, BlockThatCannotHoldItsDataHasNone) {
    QuorvelAudioProfile profile;
    QuorvelAudioBlock block(&profile, nullptr, GUID{}, GUID{});
    char bytes[8] = {};
    block.SetData(bytes, 4);
    AllocationFaults faults(0);
    block.SetData(bytes, 8);
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_EQ(block.DataSize(), 0u);
    EXPECT_EQ(block.dataCapacity, 0u);
}

}  // namespace
}  // namespace quorvel::test
