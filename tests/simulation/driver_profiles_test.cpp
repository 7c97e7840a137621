#include <random>

#include "tests/simulation/driver_bench.h"

namespace quorvel::simulation {
namespace {

class DriverProfiles : public DriverTest {
  protected:
    Bytes Fetch(int name) { return Ask(0x226F6C, Guid(name)).bytes; }
    std::uint32_t Cookie(int name) { return WordAt(Fetch(name), 20); }

    // The id of the profile for a process; empty when there is none.
    Bytes Choice(std::uint32_t process) {
        const Answer answer = Ask(0x226F70, Packet().Word(process));
        EXPECT_TRUE(answer.status == 0 || answer.status == 1168) << answer.status;
        return answer.status == 0 ? Slice(answer.bytes, 4, 16) : Bytes{};
    }
};

Bytes WithoutCookie(Bytes profile) {
    StoreInteger(profile, 20, 0, 8);
    return profile;
}

TEST_F(DriverProfiles, ComeBackByteForByte) {
    // Identifiers inside blocks and links are the client's own, whatever chain they stand in.
    const Bytes profiles[] = {
        ProfileRecord(1, {}), SampleProfile(),
        ProfileRecord(1, {u"a", u"", u"bc"},
                      {ChainRecord(1, 9, {BlockRecord(1, 2, 77, 66, Bytes(3000))},
                                   {LinkRecord(55, 44, 3, 4), LinkRecord(1, 9, 1, 1)})},
                      99)};
    for (const Bytes& profile : profiles) {
        ASSERT_EQ(Tell(0x22B73C, profile), 0u);
        EXPECT_EQ(WithoutCookie(Fetch(1)), WithoutCookie(profile));
    }
    EXPECT_EQ(Cookie(1), 3u) << "the client's own does not count";
    EXPECT_EQ(Ask(0x226F80, {}).bytes.size(), 24u);
}

// A damaged record is refused or kept as it is, never half understood.
TEST_F(DriverProfiles, DamagedOnesAreRefusedOrKeptAsTheyAre) {
    const Bytes sample = SampleProfile();
    std::mt19937 random(5);
    int refused = 0;
    for (std::size_t round = 0; round < 4000; ++round) {
        Bytes damaged = sample;
        const std::size_t place = round / 8 % damaged.size();
        damaged[place] = static_cast<std::byte>(random());
        const Bytes id = Slice(damaged, 4, 16);
        const std::uint32_t result = Tell(0x22B73C, damaged);
        if (result == 0) {
            EXPECT_EQ(WithoutCookie(Ask(0x226F6C, id).bytes), WithoutCookie(damaged)) << place;
        } else {
            EXPECT_EQ(result, place < 4 ? 87u : 13u) << place;
            ++refused;
        }
    }
    EXPECT_GT(refused, 1000);
}

// Offsets in the sample: paths section 32, chain 74, its blocks 94, its links 245, chain 333.
const struct {
    const char* field;
    std::size_t offset;
    std::vector<std::uint32_t> words;
} kContradictions[] = {
    {"number of chains", 28, {1, 3, ~0u}},
    {"paths' profile", 32, {2}},
    {"paths' size: odd, past the end, into the chain", 48, {17, ~0u, 22}},
    {"path count", 52, {2}},
    {"last path's zero", 72, {0x01030041}},
    {"chain size", 74, {258, ~0u}},
    {"chain header's zeros", 78, {1}},
    {"chain size's copy", 82, {258}},
    {"chain header's zeros", 86, {1}},
    {"chain number", 90, {3}},
    {"blocks' size: wrong, below the header", 94, {150, 35}},
    {"block count", 98, {3}},
    {"blocks' size's copy", 102, {150}},
    {"block count's copy", 106, {1}},
    {"blocks' profile", 110, {2}},
    {"blocks' chain", 126, {2}},
    {"parameters' size", 182, {200, ~0u}},
    {"link count", 249, {0}},
    {"links' profile", 261, {2}},
    {"links' chain", 277, {2}},
    {"second chain's number is the first's", 349, {1}},
};

TEST_F(DriverProfiles, EveryContradictionIsRefused) {
    for (const auto& row : kContradictions)
        for (const std::uint32_t word : row.words) {
            Bytes damaged = SampleProfile();
            StoreWord(damaged, row.offset, word);
            EXPECT_EQ(Tell(0x22B73C, damaged), 13u) << row.field << ' ' << word;
        }
    // Both chains with number 1 throughout, which no field contradicts.
    const Bytes chain = ChainRecord(1, 1, {}, {});
    EXPECT_EQ(Tell(0x22B73C, ProfileRecord(1, {}, {chain, chain})), 13u);
    EXPECT_EQ(WordAt(Ask(0x226F80, {}).bytes, 0), 0u);
}

TEST_F(DriverProfiles, PartsAreEditedInPlace) {
    ASSERT_EQ(Tell(0x22B73C, ProfileRecord(1, {})), 0u);
    const auto blockA = BlockRecord(11, 21, 1, 3, Bytes(2));
    const auto blockB = BlockRecord(12, 21, 1, 3, Bytes(4));
    const auto longerA = BlockRecord(11, 22, 1, 3, Bytes(9));
    for (const Bytes& block : {blockA, blockB, longerA})
        ASSERT_EQ(Tell(0x22B730, block), 0u);
    for (const auto& [from, to] : {std::pair(11, 12), {12, 11}, {12, 12}})
        ASSERT_EQ(Tell(0x22B758, LinkRecord(1, 3, from, to)), 0u);
    EXPECT_EQ(Ask(0x226F5C, SectionQuestion(1, 3)).bytes, SectionRecord(1, 3, {longerA, blockB}));

    const std::uint32_t cookie = Cookie(1);
    EXPECT_EQ(Tell(0x22B758, LinkRecord(1, 3, 12, 11)), 0u);
    EXPECT_EQ(Cookie(1), cookie) << "a link that is there already is no change";
    ASSERT_EQ(Tell(0x22B734, BlockQuestion(11, 1, 3)), 0u);
    EXPECT_EQ(WithoutCookie(Fetch(1)),
              ProfileRecord(1, {}, {ChainRecord(1, 3, {blockB}, {LinkRecord(1, 3, 12, 12)})}));

    ASSERT_EQ(Tell(0x22B754, SectionRecord(1, 4, {LinkRecord(1, 4, 8, 9)})), 0u);
    EXPECT_EQ(Ask(0x226F84, SectionQuestion(1, 4)).bytes,
              SectionRecord(1, 4, {LinkRecord(1, 4, 8, 9)}));
    EXPECT_EQ(Ask(0x226F5C, SectionQuestion(1, 4)).bytes, SectionRecord(1, 4, {}));
}

TEST_F(DriverProfiles, AreListedAsFarAsTheyFit) {
    for (int name = 1; name <= 64; ++name)
        ASSERT_EQ(Tell(0x22B73C, ProfileRecord(name, {})), 0u);
    const struct {
        std::size_t room;
        std::uint32_t present;
    } rows[] = {{8, 0}, {23, 0}, {24, 1}, {1024, 63}, {1031, 63}, {1032, 64}, {9000, 64}};
    for (const auto& row : rows) {
        const Answer answer = Ask(0x226F80, {}, row.room);
        EXPECT_EQ(answer.status, 0u);
        ASSERT_EQ(answer.bytes.size(), 8 + 16 * row.present);
        EXPECT_EQ(WordAt(answer.bytes, 0), 64u);
        EXPECT_EQ(WordAt(answer.bytes, 4), row.present);
        for (std::uint32_t i = 0; i < row.present; ++i)
            EXPECT_EQ(Slice(answer.bytes, 8 + 16 * i, 16), Guid(static_cast<int>(i + 1)));
    }
    EXPECT_EQ(Ask(0x226F80, {}, 7).status, 122u);
    ASSERT_EQ(Tell(0x22B748, Packet().Word(0)), 0u);
    EXPECT_EQ(Ask(0x226F80, {}).bytes, Bytes(8));
}

TEST_F(DriverProfiles, ApplyToProcessesByPath) {
    driver.AddProcess(1, u"C:\\Games\\ARENA.exe");
    driver.AddProcess(2, u"c:\\spiele\\\u00DCBUNG\u00D7\u00DF.EXE");
    driver.AddProcess(3, u"c:\\\u0418\u0413\u0420\u0410\\\u0401.exe");
    driver.AddProcess(4, u"");
    EXPECT_EQ(Choice(1), Bytes{});
    Tell(0x22B73C, ProfileRecord(1, {u"", u"c:\\other.exe", u"c:\\games\\arena.EXE"}));
    Tell(0x22B73C,
         ProfileRecord(2, {u"c:\\games\\arena.exe", u"C:\\Spiele\\\u00FCbung\u00F7\u00DF.exe"}));
    Tell(0x22B73C, ProfileRecord(3, {u"c:\\games\\arena.exe2", u"games\\arena.exe",
                                     u"C:\\\u0438\u0433\u0440\u0430\\\u0451.EXE"}));
    EXPECT_EQ(Choice(1), Guid(1)) << "the first stored";
    EXPECT_EQ(Choice(2), Bytes{}) << "the division sign is no small multiplication sign";
    EXPECT_EQ(Choice(3), Guid(3));
    EXPECT_EQ(Choice(4), Bytes{}) << "an empty path is nobody's";
    Tell(0x22B73C, ProfileRecord(1, {u"c:\\games\\arena.exe"}));
    EXPECT_EQ(Choice(1), Guid(1)) << "stored again, in the old place";
    Tell(0x22B744, Guid(1));
    EXPECT_EQ(Choice(1), Guid(2));
    Tell(0x22B74C, PathsRecord(Guid(2), {}));
    EXPECT_EQ(Choice(1), Bytes{});
    Tell(0x22B73C, ProfileRecord(Fallback(), {}));
    EXPECT_EQ(Choice(1), Fallback());
    EXPECT_EQ(Choice(99), Fallback());
    EXPECT_EQ(Choice(3), Guid(3));
    driver.RemoveProcess(3);
    EXPECT_EQ(Choice(3), Fallback());
}

}  // namespace
}  // namespace quorvel::simulation
