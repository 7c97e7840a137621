#include "tests/simulation/driver_bench.h"

namespace quorvel::simulation {
namespace {

// A record as the table of events has it: at the standing time, with the profile's cookie.
Bytes Notice(std::uint32_t kind, const Bytes& profile, std::uint32_t cookie) {
    return Packet().Words({kind, 24, 0xC3D4E5F6, 0x01D0A1B2}).Add(profile).Words({cookie, 0});
}

Bytes Detail(std::uint32_t kind, std::uint32_t cookie, int first, int second, std::uint32_t chain) {
    return Packet()
        .Words({kind, 60, 0xC3D4E5F6, 0x01D0A1B2})
        .Guid(1)
        .Words({cookie, 0})
        .Guid(first)
        .Guid(second)
        .Word(chain);
}

class DriverEventStream : public DriverTest {};

TEST_F(DriverEventStream, EveryChangeIsAnnouncedToEveryClient) {
    const ClientId other = driver.OpenClient();
    const Bytes profile = ProfileRecord(1, {u"p"});
    const Bytes otherPaths = ProfileRecord(1, {u"q"});
    const struct {
        std::uint32_t code;
        Bytes request;
        std::vector<Bytes> events;
    } rows[] = {
        {0x22B73C, profile, {Notice(25, Guid(1), 1), Notice(27, Guid(1), 1)}},
        {0x22B73C, profile, {Notice(27, Guid(1), 2)}},
        {0x22B73C, otherPaths, {Notice(27, Guid(1), 3), Notice(28, Guid(1), 3)}},
        {0x22B74C, PathsRecord(Guid(1), {u"r"}), {Notice(28, Guid(1), 4)}},
        {0x22B730, BlockRecord(11, 21, 1, 2, Bytes(3)), {Detail(29, 5, 11, 21, 2)}},
        {0x22B730, BlockRecord(11, 22, 1, 2, {}), {Detail(30, 6, 11, 22, 2)}},
        {0x22B730, BlockRecord(12, 23, 1, 2, {}), {Detail(29, 7, 12, 23, 2)}},
        {0x22B758, LinkRecord(1, 2, 11, 12), {Detail(32, 8, 11, 12, 2)}},
        {0x22B758, LinkRecord(1, 2, 11, 12), {}},
        {0x22B75C, LinkRecord(1, 2, 11, 12), {Detail(33, 9, 11, 12, 2)}},
        {0x22B75C, LinkRecord(1, 2, 11, 12), {}},
        {0x22B734, BlockQuestion(11, 1, 2), {Detail(31, 10, 11, 22, 2)}},
        {0x22B72C, SectionRecord(1, 1, {}), {Notice(27, Guid(1), 11)}},
        {0x22B754, SectionRecord(1, 1, {}), {Notice(27, Guid(1), 12)}},
        {0x22B744, Guid(1), {Notice(26, Guid(1), 13)}},
        {0x22B748, Packet().Word(0), {}},
        {0x22B73C, profile, {Notice(25, Guid(1), 14), Notice(27, Guid(1), 14)}},
        {0x22B748, Packet().Word(0), {Notice(26, Guid(0), 0)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.code);
        Tell(row.code, row.request);
        EXPECT_EQ(Events(), row.events);
        EXPECT_EQ(Events(other), row.events);
        const Bytes stored = Ask(0x226F6C, Guid(1)).bytes;
        EXPECT_TRUE(stored.empty() || row.events.empty() ||
                    WordAt(stored, 20) == WordAt(row.events.back(), 32))
            << "the same cookie";
    }
}

TEST_F(DriverEventStream, ProcessesComeAndGo) {
    driver.RemoveProcess(4);
    EXPECT_TRUE(Events().empty());
    driver.AddProcess(4, u"a");
    driver.RemoveProcess(4);
    EXPECT_EQ(Events(), std::vector<Bytes>(2, Notice(24, Guid(0), 0)));
    // The default clock: between 2020-01-01 and 2100-01-01 in units of 100 ns since 1601.
    EXPECT_GT(SystemDriverTime(), 132'223'104'000'000'000u);
    EXPECT_LT(SystemDriverTime(), 157'469'184'000'000'000u);
}

// A stream heeds 25, 26 and 28 when they name its profile, or when it has the fallback profile.
// Where a change moves another stream, a notice that names no profile follows.
TEST_F(DriverEventStream, StreamsThatNoOtherNoticeReachesAreTold) {
    driver.AddProcess(4, u"a");
    Events();
    const Bytes nobody = Notice(28, Guid(0), 0);
    const struct {
        const char* what;
        std::uint32_t code;
        Bytes request;
        bool told;
    } rows[] = {
        {"from none to 1", 0x22B73C, ProfileRecord(1, {u"a"}), true},
        {"fallback for unknown processes", 0x22B73C, ProfileRecord(Fallback(), {}), true},
        {"2 stands behind 1", 0x22B73C, ProfileRecord(2, {u"a"}), false},
        {"from 1 to 2: 1 is named", 0x22B74C, PathsRecord(Guid(1), {}), false},
        {"from 2 to 1: 1 is named", 0x22B74C, PathsRecord(Guid(1), {u"a"}), true},
        {"the same by a whole profile", 0x22B73C, ProfileRecord(1, {}), false},
        {"the same by a whole profile", 0x22B73C, ProfileRecord(1, {u"A"}), true},
        {"from 1 to 2: 1 is named", 0x22B744, Guid(1), false},
        {"from 2 to fallback", 0x22B744, Guid(2), false},
        {"from fallback to 3", 0x22B73C, ProfileRecord(3, {u"a"}), false},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(Tell(row.code, row.request), 0u) << row.what;
        const auto events = Events();
        EXPECT_EQ(events.back() == nobody, row.told) << row.what;
    }
}

TEST_F(DriverEventStream, ReadsTakeWholeRecordsOnly) {
    EXPECT_FALSE(driver.TakeEvents(client, 1024));
    Tell(0x22B73C, ProfileRecord(1, {}));
    for (int i = 0; i < 20; ++i)
        Tell(0x22B730, BlockRecord(11, 21, 1, 1, {}));
    const struct {
        std::size_t room;
        std::uint32_t status;
        std::size_t size;
    } reads[] = {{0, 122, 0},  {39, 122, 0},     {40, 0, 40},        {115, 0, 40},     {75, 122, 0},
                 {151, 0, 76}, {152, 0, 2 * 76}, {1024, 0, 13 * 76}, {9999, 0, 4 * 76}};
    for (const auto& read : reads) {
        const auto answer = driver.TakeEvents(client, read.room);
        ASSERT_TRUE(answer) << read.room;
        EXPECT_EQ(answer->status, read.status) << read.room;
        EXPECT_EQ(answer->bytes.size(), read.size) << read.room;
    }
    EXPECT_FALSE(driver.TakeEvents(client, 1024));
    for (int i = 0; i < 20; ++i)
        Tell(0x22B730, BlockRecord(11, 21, 1, 1, {}));
    EXPECT_EQ(driver.TakeEvents(client, 9999)->bytes.size(), 13u * 76) << "1024 bytes at most";
}

TEST_F(DriverEventStream, AClientThatDoesNotReadIsToldToStartAfresh) {
    Tell(0x22B73C, ProfileRecord(1, {}));
    Tell(0x22B73C, ProfileRecord(2, {}));
    Events();
    const ClientId reader = driver.OpenClient();
    std::size_t heard = 0;
    for (std::size_t i = 0; i < EventQueue::kMaxRecords; ++i) {
        Tell(0x22B730, BlockRecord(11, 21, 1, 1, {}));
        heard += Events(reader).size();
    }
    Tell(0x22B730, BlockRecord(12, 21, 1, 1, {}));
    Tell(0x22B730, BlockRecord(13, 21, 1, 1, {}));
    const std::uint32_t cookie = WordAt(Ask(0x226F6C, Guid(1)).bytes, 20);
    EXPECT_EQ(Events(), (std::vector{Notice(28, Guid(0), 0), Notice(27, Guid(1), cookie - 1),
                                     Notice(27, Guid(2), 2), Detail(29, cookie, 13, 21, 1)}));
    EXPECT_EQ(heard + Events(reader).size(), EventQueue::kMaxRecords + 2)
        << "the other lost nothing";
}

TEST_F(DriverEventStream, AReadIsReadyWhenTheFirstRecordCame) {
    const ClientId other = driver.OpenClient();
    Tell(0x22B73C, ProfileRecord(1, {}));
    Tell(0x22B73C, ProfileRecord(1, {}));
    EXPECT_EQ(ready, (std::vector{client, other}));
    EXPECT_EQ(Events().size(), 3u);
    driver.AddProcess(1, u"a");
    EXPECT_EQ(ready, (std::vector{client, other, client}));
    const ClientId late = driver.OpenClient();
    EXPECT_FALSE(driver.TakeEvents(late, 1024)) << "what was before is no news";
    driver.CloseClient(client);
    driver.AddProcess(2, u"b");
    EXPECT_EQ(ready.back(), late);
}

}  // namespace
}  // namespace quorvel::simulation
