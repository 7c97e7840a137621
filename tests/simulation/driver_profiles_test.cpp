#include <gtest/gtest.h>

#include <random>

#include "tests/simulation/driver_bench.h"

namespace quorvel::simulation {
namespace {

class DriverProfiles : public testing::Test, public Bench {
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
    for (std::size_t i = 20; i < 28; ++i)
        profile.at(i) = {};
    return profile;
}

TEST_F(DriverProfiles, ComeBackByteForByte) {
    // Identifiers inside blocks and links are the client's own, whatever chain they stand in.
    const std::vector<Bytes> profiles = {
        ProfileRecord(Guid(1), {}, {}), SampleProfile(),
        ProfileRecord(Guid(1), {u"a", u"", u"bc"},
                      {ChainRecord(Guid(1), 9, {BlockRecord(1, 2, 77, 66, Bytes(3000))},
                                   {LinkRecord(55, 44, 3, 4), LinkRecord(1, 9, 1, 1)})})};
    for (const Bytes& profile : profiles) {
        ASSERT_EQ(Tell(0x22B73C, profile), 0u);
        EXPECT_EQ(WithoutCookie(Fetch(1)), profile);
    }
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

struct Damage {
    const char* what;
    std::size_t offset;
    std::uint32_t word;
};

TEST_F(DriverProfiles, EveryContradictionIsRefused) {
    // Offsets in the sample: paths section 32, chain 74, its blocks 94, its links 245, chain 333.
    const Damage rows[] = {
        {"too many chains", 28, 3},
        {"too few chains", 28, 1},
        {"chains near 2^32", 28, ~0u},
        {"paths of another profile", 32, 2},
        {"odd strings", 48, 17},
        {"strings past the end", 48, ~0u},
        {"strings reach into chain", 48, 22},
        {"path count", 52, 2},
        {"last path without zero", 72, 0x01030041},
        {"chain size", 74, 258},
        {"chain size past the end", 74, ~0u},
        {"chain size copy", 82, 258},
        {"chain header not zero", 78, 1},
        {"chain header not zero", 86, 1},
        {"chain number differs", 90, 3},
        {"blocks size", 94, 150},
        {"blocks size below header", 94, 35},
        {"block count", 98, 3},
        {"blocks size copy", 102, 150},
        {"block count copy", 106, 1},
        {"blocks of another profile", 110, 2},
        {"blocks of another chain", 126, 2},
        {"parameters past section", 182, 200},
        {"parameters near 2^32", 182, ~0u},
        {"links of another profile", 261, 2},
        {"links of another chain", 277, 2},
        {"link count", 249, 0},
        {"second chain is first again", 349, 1},
    };
    for (const Damage& row : rows) {
        Bytes damaged = SampleProfile();
        const Bytes word = Packet().Word(row.word);
        std::copy(word.begin(), word.end(), damaged.begin() + static_cast<long>(row.offset));
        EXPECT_EQ(Tell(0x22B73C, damaged), 13u) << row.what;
    }
    // Both chains with number 1 throughout, which no field contradicts.
    const Bytes chain = ChainRecord(Guid(1), 1, {}, {});
    EXPECT_EQ(Tell(0x22B73C, ProfileRecord(Guid(1), {}, {chain, chain})), 13u);
    EXPECT_EQ(WordAt(Ask(0x226F80, {}).bytes, 0), 0u);
}

TEST_F(DriverProfiles, SectionsAndPathsAreCheckedAlone) {
    ASSERT_EQ(Tell(0x22B73C, SampleProfile()), 0u);
    const Bytes link = LinkRecord(1, 1, 11, 12);
    const Bytes blocks = SectionRecord(Guid(1), 1, {BlockRecord(11, 21, 1, 1, {})});
    const struct {
        std::uint32_t code;
        Bytes request;
        std::uint32_t status;
    } rows[] = {
        {0x22B72C, SectionRecord(Guid(1), 1, {link}), 13},  // a cut block
        {0x22B754, blocks, 13},                             // more than one link
        {0x22B754, Packet().Words({36, 1, 36, 1}).Guid(1).Word(1), 13},
        {0x22B754, Packet().Words({36, 0, 40, 0}).Guid(1).Word(1), 13},
        {0x22B754, Packet().Words({88, 0, 88, 0}).Guid(1).Word(1), 87},
        {0x22B730, Packet().Guid(11).Guid(21).Guid(1).Words({1, ~0u}), 87},
        {0x22B74C, Packet().Guid(1).Words({~0u, 0}), 87},
        {0x22B74C, Packet().Guid(1).Words({4, 1}).Text(u"ab"), 13},
        {0x22B74C, Packet().Guid(1).Words({1, 0}).Add(Bytes(1)), 13},
        {0x22B74C, Packet().Guid(1).Words({2, 2}).Add(Bytes(2)), 13},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Tell(row.code, row.request), row.status) << std::hex << row.code;
    EXPECT_EQ(WithoutCookie(Fetch(1)), SampleProfile());
}

TEST_F(DriverProfiles, EveryChangeMakesACookieThatNeverWas) {
    ASSERT_EQ(Tell(0x22B73C, ProfileRecord(Guid(2), {}, {})), 0u);
    const Bytes block = BlockRecord(13, 21, 1, 5, Bytes(4));
    const struct {
        std::uint32_t code;
        Bytes request;
    } rows[] = {{0x22B73C, SampleProfile()},
                {0x22B73C, SampleProfile()},
                {0x22B730, block},
                {0x22B730, block},
                {0x22B758, LinkRecord(1, 5, 13, 13)},
                {0x22B75C, LinkRecord(1, 5, 13, 13)},
                {0x22B734, BlockQuestion(13, 1, 5)},
                {0x22B72C, SectionRecord(Guid(1), 1, {})},
                {0x22B754, SectionRecord(Guid(1), 1, {})},
                {0x22B74C, PathsRecord(Guid(1), {})}};
    std::uint32_t last = Cookie(2);
    const std::uint32_t other = last;
    for (const auto& row : rows) {
        ASSERT_EQ(Tell(row.code, row.request), 0u);
        EXPECT_GT(Cookie(1), last) << std::hex << row.code;
        last = Cookie(1);
    }
    EXPECT_EQ(Cookie(2), other);
    ASSERT_EQ(Tell(0x22B744, Guid(1)), 0u);
    ASSERT_EQ(Tell(0x22B73C, ProfileRecord(Guid(1), {}, {}, 1)), 0u);
    EXPECT_GT(Cookie(1), last) << "the client's own cookie does not count";
}

TEST_F(DriverProfiles, PartsAreEditedInPlace) {
    ASSERT_EQ(Tell(0x22B73C, ProfileRecord(Guid(1), {}, {})), 0u);
    const auto blockA = BlockRecord(11, 21, 1, 3, Bytes(2));
    const auto blockB = BlockRecord(12, 21, 1, 3, Bytes(4));
    const auto longerA = BlockRecord(11, 22, 1, 3, Bytes(9));
    for (const Bytes& block : {blockA, blockB, longerA})
        ASSERT_EQ(Tell(0x22B730, block), 0u);
    for (const auto& [from, to] : {std::pair(11, 12), {12, 11}, {12, 12}})
        ASSERT_EQ(Tell(0x22B758, LinkRecord(1, 3, from, to)), 0u);
    EXPECT_EQ(Ask(0x226F5C, SectionQuestion(1, 3)).bytes,
              SectionRecord(Guid(1), 3, {longerA, blockB}));

    const std::uint32_t cookie = Cookie(1);
    EXPECT_EQ(Tell(0x22B758, LinkRecord(1, 3, 12, 11)), 0u);
    EXPECT_EQ(Cookie(1), cookie) << "a link that is there already is no change";
    ASSERT_EQ(Tell(0x22B734, BlockQuestion(11, 1, 3)), 0u);
    EXPECT_EQ(WithoutCookie(Fetch(1)),
              ProfileRecord(Guid(1), {},
                            {ChainRecord(Guid(1), 3, {blockB}, {LinkRecord(1, 3, 12, 12)})}));

    ASSERT_EQ(Tell(0x22B754, SectionRecord(Guid(1), 4, {LinkRecord(1, 4, 8, 9)})), 0u);
    EXPECT_EQ(Ask(0x226F84, SectionQuestion(1, 4)).bytes,
              SectionRecord(Guid(1), 4, {LinkRecord(1, 4, 8, 9)}));
    EXPECT_EQ(Ask(0x226F5C, SectionQuestion(1, 4)).bytes, SectionRecord(Guid(1), 4, {}));
}

TEST_F(DriverProfiles, AreListedAsFarAsTheyFit) {
    for (int name = 1; name <= 64; ++name)
        ASSERT_EQ(Tell(0x22B73C, ProfileRecord(Guid(name), {}, {})), 0u);
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
    Tell(0x22B73C, ProfileRecord(Guid(1), {u"", u"c:\\other.exe", u"c:\\games\\arena.EXE"}, {}));
    Tell(0x22B73C,
         ProfileRecord(Guid(2),
                       {u"c:\\games\\arena.exe", u"C:\\Spiele\\\u00FCbung\u00F7\u00DF.exe"}, {}));
    Tell(0x22B73C, ProfileRecord(Guid(3),
                                 {u"c:\\games\\arena.exe2", u"games\\arena.exe",
                                  u"C:\\\u0438\u0433\u0440\u0430\\\u0451.EXE"},
                                 {}));
    EXPECT_EQ(Choice(1), Guid(1)) << "the first stored";
    EXPECT_EQ(Choice(2), Bytes{}) << "the division sign is no small multiplication sign";
    EXPECT_EQ(Choice(3), Guid(3));
    EXPECT_EQ(Choice(4), Bytes{}) << "an empty path is nobody's";
    Tell(0x22B73C, ProfileRecord(Guid(1), {u"c:\\games\\arena.exe"}, {}));
    EXPECT_EQ(Choice(1), Guid(1)) << "stored again, in the old place";
    Tell(0x22B744, Guid(1));
    EXPECT_EQ(Choice(1), Guid(2));
    Tell(0x22B74C, PathsRecord(Guid(2), {}));
    EXPECT_EQ(Choice(1), Bytes{});
    Tell(0x22B73C, ProfileRecord(Fallback(), {}, {}));
    EXPECT_EQ(Choice(1), Fallback());
    EXPECT_EQ(Choice(99), Fallback());
    EXPECT_EQ(Choice(3), Guid(3));
    driver.RemoveProcess(3);
    EXPECT_EQ(Choice(3), Fallback());
}

}  // namespace
}  // namespace quorvel::simulation
