// Requests to an honest driver: what arrives, what comes back, what stays unsaid.
#include <cstring>

#include "kinds/block_kinds.h"
#include "tests/client/client_bench.h"

namespace quorvel::test {
namespace {

class DriverRequests : public ClientTest {
  protected:
    void SetUp() override {
        ClientTest::SetUp();
        ASSERT_EQ(device.Open(kPath, nullptr), 0u);
    }
    void TearDown() override {
        device.Close();
        ClientTest::TearDown();
    }

    QuorvelAudioDevice device;
};

// The text without the cookie, which the driver assigns.
std::string Content(QuorvelAudioProfile& profile) {
    profile.cookie = 0;
    return Describe(profile);
}

TEST_F(DriverRequests, OneClientStoresAnotherFetches) {
    QuorvelAudioProfile sent, whole, byProcess, parts;
    FillSample(sent);
    ASSERT_EQ(device.SetProfileData(&sent), 0u);
    Core().AddProcess(7, u"c:\\games\\ARENA.EXE");
    QuorvelAudioDevice other;
    ASSERT_EQ(other.Open(kPath, nullptr), 0u);
    whole.id = parts.id = sent.id;
    EXPECT_EQ(other.GetProfileData(&whole), 0u);
    EXPECT_NE(whole.cookie, 0);
    EXPECT_EQ(Content(whole), Content(sent));
    EXPECT_EQ(other.GetProfileForPID(7, &byProcess), 0u);
    EXPECT_EQ(Content(byProcess), Content(sent));
    EXPECT_EQ(other.GetProfilePaths(&parts), 0u);
    for (const DWORD chain : {1u, 2u}) {
        EXPECT_EQ(other.GetProfileBlocks(&parts, chain), 0u);
        EXPECT_EQ(other.GetProfileLinks(&parts, chain), 0u);
    }
    EXPECT_EQ(Content(parts), Content(sent));

    QuorvelAudioBlock block(&sent, nullptr, GUID{}, NumberedGuid(11));
    block.chainId = 1;
    EXPECT_EQ(other.GetAudioBlock(&block), 0u);
    EXPECT_TRUE(block.typeId == kBlockKinds[0].typeId);
    EXPECT_EQ(block.DataSize(), 40u);

    EXPECT_EQ(other.GetProfileForPID(8, &whole), 1168u);
    EXPECT_EQ(Content(whole), Content(sent)) << "left as it was";
}

TEST_F(DriverRequests, PartsAreChangedOneByOne) {
    QuorvelAudioProfile sent, fetched;
    fetched.id = sent.id = NumberedGuid(1);
    ASSERT_EQ(device.SetProfileData(&sent), 0u) << "a profile of nothing";
    FillSample(sent);
    EXPECT_EQ(device.SetProfilePaths(&sent), 0u);
    EXPECT_EQ(device.SetProfileBlocks(&sent, 1), 0u);
    EXPECT_EQ(device.SetProfileLinks(&sent, 1), 0u);
    EXPECT_EQ(device.SetProfileBlocks(&sent, 2), 0u);
    EXPECT_EQ(device.GetProfileData(&fetched), 0u);
    EXPECT_EQ(Content(fetched), Content(sent));

    QuorvelAudioBlocksChain& chain = *sent.GetChain(1, false);
    AddBlock(sent, 1, 13, 9);
    AddLink(sent, 1, 12, 13);
    EXPECT_EQ(device.SetAudioBlock(&chain.blocks.Item(2)), 0u);
    EXPECT_EQ(device.SetProfileLink(&chain.links.Item(1)), 0u);
    EXPECT_EQ(device.GetProfileData(&fetched), 0u);
    EXPECT_EQ(Content(fetched), Content(sent));
    EXPECT_EQ(device.RemoveProfileLink(&chain.links.Item(1)), 0u);
    EXPECT_EQ(device.RemoveAudioBlock(&chain.blocks.Item(0)), 0u);
    sent.RemoveBlock(1, NumberedGuid(11));
    sent.RemoveBlockLinks(1, NumberedGuid(12));
    EXPECT_EQ(device.GetProfileData(&fetched), 0u);
    EXPECT_EQ(Content(fetched), Content(sent));

    EXPECT_EQ(device.RemoveProfile(sent.id), 0u);
    EXPECT_EQ(device.RemoveProfile(&sent), 1168u);
    QuorvelAudioProfilesList list;
    EXPECT_EQ(device.SetProfileData(&sent), 0u);
    EXPECT_EQ(device.ClearProfiles(), 0u);
    EXPECT_EQ(device.GetAllProfiles(&list), 0u);
    EXPECT_EQ(list.Count(), 0u);
}

TEST_F(DriverRequests, WhatFailsBeforehandIsNeitherSentNorStored) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    profile.GetChain(1, false)->blocks.Item(1).typeId = NumberedGuid(99);
    QuorvelAudioProfile laterChain;
    FillSample(laterChain);
    AddBlock(laterChain, 2, 14, 4);
    laterChain.GetChain(2, false)->blocks.Item(0).typeId = NumberedGuid(99);
    DWORD value = 1;
    _QuorvelStreamAnalysisData tooMany;
    tooMany.count = 0x3FFFFFFC;
    Core().Misbehave({.refuse = 31});
    EXPECT_EQ(device.ClearProfiles(), 31u);
    Core().Misbehave({.refuse = 77});
    EXPECT_EQ(device.SetProfileData(&profile), 1630u);
    EXPECT_EQ(device.SetProfileData(&laterChain), 1630u);
    EXPECT_EQ(device.SetProfileBlocks(&profile, 1), 1630u);
    EXPECT_EQ(device.SetAudioBlock(&profile.GetChain(1, false)->blocks.Item(1)), 1630u);
    EXPECT_EQ(device.SetProfileBlocks(&profile, 3), 1168u);
    EXPECT_EQ(device.SetProfileLinks(&profile, 3), 1168u);
    EXPECT_EQ(device.SetStreamAnalysisParams(1, 2, 3, 4, 5, 1, nullptr), 87u);
    EXPECT_EQ(device.SetStreamAnalysisParams(1, 2, 3, 4, 5, 0x3FFFFFFB, &value), 8u) << "4 GiB + 4";
    EXPECT_EQ(device.GetLastFrequenciesInfo(&tooMany, 0), 87u);
    EXPECT_EQ(device.Open(static_cast<const WCHAR*>(nullptr), nullptr), 87u);
    EXPECT_EQ(device.Open(INVALID_HANDLE_VALUE, nullptr), 87u);
    EXPECT_EQ(device.GetError(), 31u);
    EXPECT_EQ(device.SetStreamAnalysisParams(1, 2, 3, 4, 5, 1, &value), 77u) << "the next to come";
}

// A profile with an answer of `size` bytes to one question; the driver says whether it was asked
// once or twice.
struct Boundary {
    const char* name;
    DWORD code;
    std::vector<unsigned> once, twice;
    void (*fill)(QuorvelAudioProfile&, unsigned size);
    DWORD (*ask)(QuorvelAudioDevice&, QuorvelAudioProfile&);
};

void FillBlocks(QuorvelAudioProfile& profile, unsigned size) {
    AddBlock(profile, 1, 11, size);
}

const Boundary kBoundaries[] = {
    {"whole profile",
     0x226F6C,
     {2047, 2048},
     {2049, 100'000},
     [](QuorvelAudioProfile& profile, unsigned size) { FillBlocks(profile, size - 204); },
     [](QuorvelAudioDevice& device, QuorvelAudioProfile& profile) {
         return device.GetProfileData(&profile);
     }},
    {"blocks",
     0x226F5C,
     {2047, 2048},
     {2049, 100'000},
     [](QuorvelAudioProfile& profile, unsigned size) { FillBlocks(profile, size - 92); },
     [](QuorvelAudioDevice& device, QuorvelAudioProfile& profile) {
         return device.GetProfileBlocks(&profile, 1);
     }},
    {"links",
     0x226F84,
     {972, 1024},
     {1076, 5236},
     [](QuorvelAudioProfile& profile, unsigned size) {
         for (unsigned i = 0; i < 101; ++i)
             AddBlock(profile, 1, i, 0);
         for (unsigned i = 0; i < (size - 36) / 52; ++i)
             AddLink(profile, 1, i, i + 1);
     },
     [](QuorvelAudioDevice& device, QuorvelAudioProfile& profile) {
         return device.GetProfileLinks(&profile, 1);
     }},
    {"paths",
     0x226F7C,
     {1022, 1024},
     {1026, 9000},
     [](QuorvelAudioProfile& profile, unsigned size) {
         profile.AddPath(std::u16string((size - 24) / 2 - 1, u'x').c_str());
     },
     [](QuorvelAudioDevice& device, QuorvelAudioProfile& profile) {
         return device.GetProfilePaths(&profile);
     }},
    {"block",
     0x226F60,
     {511, 512},
     {513, 2048},
     [](QuorvelAudioProfile& profile, unsigned size) { FillBlocks(profile, size - 56); },
     [](QuorvelAudioDevice& device, QuorvelAudioProfile& profile) {
         QuorvelAudioBlock block(&profile, profile.GetChain(1, true), GUID{}, NumberedGuid(11));
         const DWORD result = device.GetAudioBlock(&block);
         profile.GetChain(1, true)->blocks.Add(block);
         return result;
     }},
};

// Compares what the question `code` fetches.
void ExpectSame(DWORD code, QuorvelAudioProfile& sent, QuorvelAudioProfile& fetched) {
    QuorvelAudioBlocksChain& chain = *sent.GetChain(1, true);
    QuorvelAudioBlocksChain& fetchedChain = *fetched.GetChain(1, true);
    if (code == 0x226F84) {
        EXPECT_EQ(fetchedChain.links.GetPackedSize(), chain.links.GetPackedSize());
    } else if (code == 0x226F7C) {
        EXPECT_EQ(std::u16string(fetched.Path(0)), std::u16string(sent.Path(0)));
    } else {
        const QuorvelAudioBlock& block = fetchedChain.blocks.Item(0);
        const QuorvelAudioBlock& original = chain.blocks.Item(0);
        ASSERT_EQ(block.DataSize(), original.DataSize());
        EXPECT_EQ(std::memcmp(block.Data(), original.Data(), block.DataSize()), 0);
    }
}

TEST_F(DriverRequests, AskAgainOnlyForWhatDidNotFit) {
    for (const Boundary& boundary : kBoundaries) {
        for (const auto* sizes : {&boundary.once, &boundary.twice}) {
            for (const unsigned size : *sizes) {
                SCOPED_TRACE(boundary.name + (' ' + std::to_string(size)));
                QuorvelAudioProfile sent, fetched;
                fetched.id = sent.id = NumberedGuid(1);
                boundary.fill(sent, size);
                ASSERT_EQ(device.SetProfileData(&sent), 0u);
                Core().Misbehave({.code = boundary.code, .skip = 1, .refuse = 31});
                EXPECT_EQ(boundary.ask(device, fetched), sizes == &boundary.once ? 0u : 31u);
                Core().Behave();
                fetched = {};
                fetched.id = sent.id;
                EXPECT_EQ(boundary.ask(device, fetched), 0u);
                ExpectSame(boundary.code, sent, fetched);
            }
        }
    }
    QuorvelAudioProfile large;
    large.id = NumberedGuid(1);
    FillBlocks(large, 2049 - 56);
    ASSERT_EQ(device.SetProfileData(&large), 0u);
    EXPECT_EQ(kBoundaries[4].ask(device, large), 122u) << "the second buffer is the last";
}

TEST_F(DriverRequests, TheListOfProfilesHoldsAll) {
    QuorvelAudioProfilesList list;
    for (unsigned count = 0; count <= 65; ++count) {
        if (count >= 62 || count == 0) {
            Core().Misbehave({.code = 0x226F80, .skip = 1, .refuse = 31});
            EXPECT_EQ(device.GetAllProfiles(&list), count <= 63 ? 0u : 31u) << count;
            Core().Behave();
        }
        EXPECT_EQ(device.GetAllProfiles(&list), 0u);
        ASSERT_EQ(list.Count(), count);
        for (unsigned i = 0; i < count; ++i)
            EXPECT_TRUE(list.Item(i) == NumberedGuid(i + 1));
        QuorvelAudioProfile profile;
        profile.id = NumberedGuid(count + 1);
        ASSERT_EQ(device.SetProfileData(&profile), 0u);
    }
}

TEST_F(DriverRequests, Texts) {
    const struct {
        std::u16string answer, link;
    } rows[] = {{u"\\??\\x", u"\\\\?\\x"},
                {u"\\??\\", u"\\??\\"},
                {u"", u""},
                {u"\\?", u"\\?"},
                {u"\\??xyz", u"\\??xyz"},
                {std::u16string(1024, u'y'), std::u16string(1024, u'y')}};
    for (const auto& row : rows) {
        simulation::DeviceAnswers answers;
        answers.links[simulation::kAudioCategory] = row.answer;
        answers.version = row.answer.substr(0, 128);
        Core().SetAnswers(answers);
        WCHAR* text = nullptr;
        EXPECT_EQ(device.GetAudioInterface(&text), 0u);
        EXPECT_EQ(std::u16string(text), row.link);
        QuorvelAudioDevice::Free(text);
        EXPECT_EQ(device.GetDriverVersion(&text), 0u);
        EXPECT_EQ(std::u16string(text), answers.version);
        QuorvelAudioDevice::Free(text);
    }
    const GUID other = NumberedGuid(5);
    WCHAR* text = nullptr;
    EXPECT_EQ(device.GetInterfaceLink(&other, &text), 1168u);
    Core().AddProcess(9, u"abc");
    WCHAR path[] = u"zzzzzz";
    EXPECT_EQ(device.GetProcessPathByPID(9, path, 3), 122u);
    EXPECT_EQ(device.GetProcessPathByPID(9, path, 4), 0u);
    EXPECT_EQ(std::u16string(path, 6), std::u16string(u"abc\0zz", 6));
}

TEST_F(DriverRequests, FrequenciesFillTheRoomThatThereIs) {
    simulation::DeviceAnswers answers;
    answers.frequencies = {10, 20, 30};
    Core().SetAnswers(answers);
    for (const std::uint32_t room : {0u, 2u, 3u}) {
        std::uint32_t words[8] = {0, 0, 0, room, 99, 99, 99, 99};
        auto& data = reinterpret_cast<_QuorvelStreamAnalysisData&>(words);
        EXPECT_EQ(device.GetLastFrequenciesInfo(&data, 6), 0u);
        EXPECT_EQ(words[0], 6u);
        EXPECT_EQ(words[3], room);
        for (std::uint32_t i = 0; i < 4; ++i)
            EXPECT_EQ(words[4 + i], i < room ? 10 * (i + 1) : 99);
    }
}

TEST_F(DriverRequests, CopiesAreValuesAndOwnershipIsKept) {
    const HANDLE opened = device.GetHandle();
    QuorvelAudioDevice borrower;
    EXPECT_EQ(borrower.Open(opened, nullptr), 0u);
    QuorvelAudioDevice copy(borrower), assigned;
    assigned = copy;
    copy.Close();
    EXPECT_EQ(assigned.GetHandle(), opened);
    EXPECT_EQ(assigned.ClearProfiles(), 0u) << "the owner still has it open";
    const std::size_t before = platform::OpenHandleCount();
    EXPECT_EQ(device.Open(kPath, nullptr), 0u);
    EXPECT_EQ(platform::OpenHandleCount(), before) << "the first was closed, no events were made";
    EXPECT_EQ(assigned.ClearProfiles(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(device.Open(u"\\\\?\\Nothing", nullptr), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(device.GetHandle(), INVALID_HANDLE_VALUE);
}

}  // namespace
}  // namespace quorvel::test
