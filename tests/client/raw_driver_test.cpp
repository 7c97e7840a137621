// Every operation against a driver of raw bytes: what it is sent, byte for byte, and what its
// answers become.
#include <cstring>

#include "kinds/block_kinds.h"
#include "tests/client/client_bench.h"
#include "tests/client/raw_records.h"
#include "tests/support/fake_device.h"

namespace quorvel::test {
namespace {

constexpr std::uint64_t kCookie = 0x8877665544332211;

// One request that the driver expects, and its answer.
struct Exchange {
    DWORD code = 0;
    ByteBuilder in{};
    std::size_t outSize = 0;
    ByteBuilder out{};
    DWORD status = 0;
};

// What operations are called with, and what they fill.
struct Things {
    Things() {
        sample.id = blank.id = RawGuid(1);
        sample.AddPath(u"ab");
        QuorvelAudioBlocksChain& chain = *sample.GetChain(7, true);
        for (const std::uint8_t number : {std::uint8_t{2}, std::uint8_t{3}}) {
            QuorvelAudioBlock block(&sample, &chain, kBlockKinds[0].typeId, RawGuid(number));
            std::uint8_t data[] = {0x80, 0, 0xFF};
            block.SetData(data, number == 2 ? 3 : 0);
            chain.blocks.Add(block);
        }
        chain.links.Add(link);
    }
    ~Things() { QuorvelAudioDevice::Free(text); }

    // A chain that the sample and what was fetched have in common.
    std::string Chain(QuorvelAudioProfile& profile) { return Describe(*profile.GetChain(7, true)); }
    QuorvelAudioBlock& Block() { return sample.GetChain(7, false)->blocks.Item(0); }

    _QuorvelAudioBlockLink link{RawGuid(1), 7, RawGuid(2), RawGuid(3)};
    QuorvelAudioProfile sample, blank;
    QuorvelAudioProfilesList list;
    WCHAR* text = nullptr;
    std::uint32_t words[6]{};  // a record of numbers
};

struct Row {
    const char* name;
    std::vector<Exchange> exchanges;
    DWORD (*run)(QuorvelAudioDevice&, Things&);
    bool (*isRight)(Things&) = nullptr;  // after success
};

using D = QuorvelAudioDevice;
using T = Things;

const Row kChanges[] = {
    {"SetProfileData",
     {{0x22B73C, RawProfile(0)}},
     [](D& d, T& t) { return t.sample.cookie = 5, d.SetProfileData(&t.sample); }},
    {"RemoveProfile",
     {{0x22B744, Id(9)}},
     [](D& d, T&) {
         GUID id = RawGuid(9);
         return d.RemoveProfile(id);
     }},
    {"RemoveProfile by profile",
     {{0x22B744, Id(1)}},
     [](D& d, T& t) { return d.RemoveProfile(&t.sample); }},
    {"ClearProfiles", {{0x22B748, Words({0})}}, [](D& d, T&) { return d.ClearProfiles(); }},
    {"SetProfileBlocks",
     {{0x22B72C, RawBlocks()}},
     [](D& d, T& t) { return d.SetProfileBlocks(&t.sample, 7); }},
    {"SetProfileLinks",
     {{0x22B754, RawLinks()}},
     [](D& d, T& t) {
         // A link's own profile and chain are not sent.
         t.sample.GetChain(7, false)->links.Item(0).profileId = RawGuid(9);
         t.sample.GetChain(7, false)->links.Item(0).chainId = 9;
         return d.SetProfileLinks(&t.sample, 7);
     }},
    {"SetProfilePaths",
     {{0x22B74C, RawPaths()}},
     [](D& d, T& t) { return d.SetProfilePaths(&t.sample); }},
    {"SetAudioBlock",
     {{0x22B730, RawBlock2()}},
     [](D& d, T& t) { return d.SetAudioBlock(&t.Block()); }},
    {"RemoveAudioBlock",
     {{0x22B734, Join(Id(2), Words({0, 0, 0, 0}), Id(1), Words({7, 0}))}},
     [](D& d, T& t) { return d.RemoveAudioBlock(&t.Block()); }},
    {"SetProfileLink",
     {{0x22B758, RawLink()}},
     [](D& d, T& t) { return d.SetProfileLink(&t.link); }},
    {"RemoveProfileLink",
     {{0x22B75C, RawLink()}},
     [](D& d, T& t) { return d.RemoveProfileLink(&t.link); }},
    {"EnableStreamAnalysis",
     {{0x22B704, Words({3, 0xFFFFFFFF})}},
     [](D& d, T&) { return d.EnableStreamAnalysis(3, -1); }},
    {"SetStreamAnalysisParams of none",
     {{0x22B708, Words({1, 2, 0x3F000000, 5, 4, 0})}},
     [](D& d, T&) { return d.SetStreamAnalysisParams(1, 2, 0.5f, 4, 5, 0, nullptr); }},
    {"SetStreamAnalysisParams of two",
     {{0x22B708, Words({1, 2, 0x3F000000, 5, 4, 2, 0xAABBCCDD, 7})}},
     [](D& d, T&) {
         DWORD values[] = {0xAABBCCDD, 7};
         return d.SetStreamAnalysisParams(1, 2, 0.5f, 4, 5, 2, values);
     }},
};

// Answers whose last byte counts.
const Row kRecords[] = {
    {"GetProfileData",
     {{0x226F6C, Id(1), 2048, RawProfile(kCookie)}},
     [](D& d, T& t) { return d.GetProfileData(&t.blank); },
     [](T& t) {
         t.sample.cookie = static_cast<std::int64_t>(kCookie);
         return Describe(t.blank) == Describe(t.sample);
     }},
    {"GetProfileForPID",
     {{0x226F70, Words({4242}), 2048, RawProfile(0)}},
     [](D& d, T& t) { return d.GetProfileForPID(4242, &t.blank); },
     [](T& t) { return Describe(t.blank) == Describe(t.sample); }},
    // Of the header's two sizes and counts the second ones count.
    {"GetProfileBlocks",
     {{0x226F5C, Join(Words({0, 0, 0, 0}), Id(1), Words({7})), 2048,
       RawBlocks().Patch(0, 1).Patch(4, 9)}},
     [](D& d, T& t) { return d.GetProfileBlocks(&t.blank, 7); },
     [](T& t) {
         t.sample.GetChain(7, false)->links.Clear();
         return t.Chain(t.blank) == t.Chain(t.sample);
     }},
    // A link takes profile and chain of the chain that it is read into.
    {"GetProfileLinks",
     {{0x226F84, Join(Words({0, 0, 0, 0}), Id(1), Words({7})), 1024,
       RawLinks().Patch(0, 1).Patch(4, 9).Patch(36, 0).Patch(52, 9)}},
     [](D& d, T& t) { return d.GetProfileLinks(&t.blank, 7); },
     [](T& t) {
         t.sample.GetChain(7, false)->blocks.Clear();
         return t.Chain(t.blank) == t.Chain(t.sample);
     }},
    {"GetProfilePaths",
     {{0x226F7C, Id(1), 1024, RawPaths().Patch(20, 9)}},
     [](D& d, T& t) { return d.GetProfilePaths(&t.blank); },
     [](T& t) {
         return t.blank.PathsCount() == 1 && std::u16string_view(t.blank.Path(0)) == u"ab";
     }},
    {"GetAudioBlock",
     {{0x226F60, Join(Id(2), Words({0, 0, 0, 0}), Id(1), Words({7, 0})), 512,
       Join(Id(4), KnownKind(), Id(5), Words({8, 3}), ByteBuilder().Raw({1, 2, 3}))}},
     [](D& d, T& t) { return d.GetAudioBlock(&t.Block()); },
     [](T& t) {
         const QuorvelAudioBlock& block = t.Block();
         return block.id == RawGuid(4) && block.profileId == RawGuid(5) && block.chainId == 8 &&
                block.DataSize() == 3 && std::memcmp(block.Data(), "\1\2\3", 3) == 0;
     }},
    {"GetAllProfiles",
     {{0x226F80, {}, 1024, Join(Words({2, 2}), Id(1), Id(2))}},
     [](D& d, T& t) { return d.GetAllProfiles(&t.list); },
     [](T& t) { return t.list.Count() == 2 && t.list.Item(1) == RawGuid(2); }},
};

// Answers of any length.
const Row kQueries[] = {
    {"GetDriverVersion",
     {{0x226EE0, {}, 256, Text(u"1.2")}},
     [](D& d, T& t) { return d.GetDriverVersion(&t.text); },
     [](T& t) { return std::u16string_view(t.text) == u"1.2"; }},
    {"GetInterfaceLink",
     {{0x226EE4, Id(6), 2048, Text(u"\\??\\x")}},
     [](D& d, T& t) {
         const GUID interfaceClass = RawGuid(6);
         return d.GetInterfaceLink(&interfaceClass, &t.text);
     },
     [](T& t) { return std::u16string_view(t.text) == u"\\\\?\\x"; }},
    {"GetAudioInterface",
     {{0x226EE4,
       ByteBuilder().Raw({0x04, 0xAD, 0x94, 0x69, 0xEF, 0x93, 0xD0, 0x11, 0xA3, 0xCC, 0x00, 0xA0,
                          0xC9, 0x22, 0x31, 0x96}),
       2048, Text(u"\\??\\")}},
     [](D& d, T& t) { return d.GetAudioInterface(&t.text); },
     [](T& t) { return std::u16string_view(t.text) == u"\\??\\"; }},
    {"GetChannelMask",
     {{0x226EEC, {}, 8, Words({8, 0x63F})}},
     [](D& d, T& t) {
         return d.GetChannelMask(reinterpret_cast<_QuorvelChannelsMaskInfo*>(t.words));
     },
     [](T& t) { return t.words[0] == 8 && t.words[1] == 0x63F && t.words[2] == 0; }},
    {"GetLastFrequenciesInfo",
     {{0x226F24, Words({6}), 24, Words({6, 5, 4, 2, 10, 20})}},
     [](D& d, T& t) {
         t.words[3] = 2;
         return d.GetLastFrequenciesInfo(reinterpret_cast<_QuorvelStreamAnalysisData*>(t.words), 6);
     },
     [](T& t) { return t.words[0] == 6 && t.words[5] == 20; }},
    {"GetProcessPathByPID",
     {{0x226F3C, Words({4242}), 10, Text(u"abc")}},
     [](D& d, T& t) { return d.GetProcessPathByPID(4242, reinterpret_cast<WCHAR*>(t.words), 5); },
     [](T& t) { return t.words[0] == 0x00620061 && t.words[1] == 0x63; }},
    {"GetDataFormatRange",
     {{0x226EE8, {}, 1024, Words({1, 2})}},
     [](D& d, T& t) {
         return d.GetDataFormatRange(reinterpret_cast<_QuorvelSupportedDataFormats**>(&t.text));
     },
     [](T& t) { return std::memcmp(t.text, "\1\0\0\0\2\0\0\0\0", 9) == 0; }},
    {"GetSetData",
     {{0x226F14, Words({7, 8}), 4, Words({1})}},
     [](D& d, T& t) {
         t.words[0] = 7, t.words[1] = 8;
         DWORD bytes = 0;
         const DWORD result = d.GetSetData(0x226F14, t.words, 8, t.words, 4, &bytes);
         return result ? result : 4 - bytes;
     },
     [](T& t) { return t.words[0] == 1 && t.words[1] == 8; }},
};

class RawDriver : public FakeDeviceTest {
  protected:
    // Runs the operation against the row's exchanges, which must be all that comes.
    void Expect(const Row& row, DWORD result) {
        std::size_t came = 0;
        device->answer = [&](DWORD code, auto in, auto out, DWORD& returned) {
            const Exchange none;
            const Exchange& expected = came < row.exchanges.size() ? row.exchanges[came] : none;
            ++came;
            EXPECT_EQ(code, expected.code);
            EXPECT_TRUE(std::ranges::equal(in, expected.in.bytes));
            EXPECT_EQ(out.size(), expected.outSize);
            const std::size_t copied = std::min(out.size(), expected.out.bytes.size());
            std::copy_n(expected.out.bytes.begin(), copied, out.begin());
            returned = static_cast<DWORD>(copied);
            return expected.status;
        };
        Things things;
        QuorvelAudioDevice client;
        ASSERT_EQ(client.Open(kPath, nullptr), 0u);
        EXPECT_EQ(row.run(client, things), result);
        EXPECT_EQ(came, row.exchanges.size());
        EXPECT_EQ(client.GetError(), row.exchanges.back().status);
        if (result == 0 && row.isRight) {
            EXPECT_TRUE(row.isRight(things));
        }
    }
};

TEST_F(RawDriver, IsSentTheRecordsAndItsErrorsComeBack) {
    for (const std::span<const Row> rows : {std::span<const Row>(kChanges), {kRecords}, {kQueries}})
        for (Row row : rows) {
            SCOPED_TRACE(row.name);
            Expect(row, 0);
            row.exchanges[0].status = 31;
            Expect(row, 31);
        }
}

TEST_F(RawDriver, AnswersThatAreShortAreRefusedAndLongerOnesAreNot) {
    for (Row row : kRecords) {
        SCOPED_TRACE(row.name);
        row.exchanges[0].out.Raw({0xEE, 0xEE, 0xEE});
        Expect(row, 0);
        auto& answer = row.exchanges[0].out.bytes;
        answer.erase(answer.end() - 4, answer.end());
        Expect(row, ERROR_INVALID_DATA);
    }
}

TEST_F(RawDriver, IsAskedAgainWithTheSizeThatItTold) {
    const struct {
        std::size_t record;
        ByteBuilder part;
        DWORD status;
        std::size_t size;
    } rows[] = {
        {0, Words({5000}), 234, 5000},
        {1, Words({2000}), 234, 2000},
        {2, Words({5000, 0, 7, 0}), 234, 5000},
        {3, Words({3000, 0, 7, 0}), 234, 3000},
        {4, Join(Id(1), Words({2000})), 234, 2024},
        {5, {}, 122, 2048},
        {6, Words({64, 63}), 0, 1032},
        {0, Words({64u << 20}), 234, 64u << 20},
    };
    for (const auto& row : rows) {
        Row twice = kRecords[row.record];
        SCOPED_TRACE(twice.name);
        const Exchange first = twice.exchanges[0];
        twice.exchanges.insert(twice.exchanges.begin(), first);
        twice.exchanges[0].out = row.part;
        twice.exchanges[0].status = row.status;
        twice.exchanges[1].outSize = row.size;
        Expect(twice, 0);
        twice.exchanges[1].status = row.status == 0 ? 234 : row.status;
        Expect(twice, twice.exchanges[1].status);
    }
}

TEST_F(RawDriver, IsNotAskedForMoreThan64Mebibytes) {
    for (const auto& [record, part] :
         {std::pair{0, Words({(64u << 20) + 1})}, {4, Join(Id(1), Words({(64u << 20) - 23}))}}) {
        Row row = kRecords[record];
        row.exchanges[0].out = part;
        row.exchanges[0].status = 234;
        Expect(row, ERROR_NOT_ENOUGH_MEMORY);
    }
}

}  // namespace
}  // namespace quorvel::test
