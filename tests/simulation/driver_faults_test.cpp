#include <atomic>
#include <thread>

#include "tests/simulation/driver_bench.h"

namespace quorvel::simulation {
namespace {

class DriverFaults : public DriverTest {
  protected:
    void SetUp() override {
        ASSERT_EQ(Tell(0x22B73C, SampleProfile()), 0u);
        Events();
        ready.clear();
    }
    Answer Links(std::size_t room = 1024) { return Ask(0x226F84, SectionQuestion(1, 1), room); }
};

TEST_F(DriverFaults, SpoilTheAnswer) {
    const Bytes honest = Links().bytes;
    const Bytes garbage = Packet().Words({1, 2, 3});
    const Bytes patchedAndCut = Packet().Words({9, 2});
    Bytes lying = honest;
    StoreWord(lying, 4, ~0u);
    const struct {
        const char* what;
        Misbehaviour fault;
        std::size_t room;
        std::uint32_t status;
        Bytes bytes;
    } rows[] = {
        {"refused", {.refuse = 31}, 1024, 31, {}},
        {"cut", {.cutTo = 35}, 1024, 0, Slice(honest, 0, 35)},
        {"cut to nothing", {.cutTo = 0}, 1024, 0, {}},
        {"cut beyond its end", {.cutTo = 100}, 1024, 0, honest},
        {"cut, with more to come", {.cutTo = 4, .status = 234}, 1024, 234, Slice(honest, 0, 4)},
        {"whole, but said to be cut", {.status = 234}, 1024, 234, honest},
        {"cut, but said to be whole", {.status = 0}, 50, 0, Slice(honest, 0, 50)},
        {"lying count", {.patches = {{4, ~0u}}}, 1024, 0, lying},
        {"patches past the end", {.patches = {{85, 1}, {88, 1}, {~0u, 1}}}, 1024, 0, honest},
        {"other bytes", {.answer = garbage}, 1024, 0, garbage},
        {"all", {.answer = garbage, .patches = {{0, 9}}, .cutTo = 8}, 1024, 0, patchedAndCut},
        {"more than there is room for", {.answer = Bytes(99)}, 90, 0, Bytes(90)},
    };
    for (const auto& row : rows) {
        driver.Misbehave(row.fault);
        const Answer answer = Links(row.room);
        EXPECT_EQ(answer.status, row.status) << row.what;
        EXPECT_EQ(answer.bytes, row.bytes) << row.what;
        EXPECT_EQ(answer.silence, 0u) << row.what;
        EXPECT_EQ(Links().bytes, honest) << row.what << ": once only";
    }
}

TEST_F(DriverFaults, MeetTheRequestsTheyAreMeantFor) {
    const ClientId other = driver.OpenClient();
    driver.Misbehave({.code = 0x226F14, .skip = 1, .times = 2, .refuse = 50});
    driver.Misbehave({.code = 0x226F14, .client = other, .skip = 1, .refuse = 60});
    driver.Misbehave({.code = 0x226F14, .times = 0, .refuse = 70});
    const struct {
        ClientId asker;
        std::uint32_t code;
        std::uint32_t status;
    } rows[] = {{client, 0x226EEC, 0}, {client, 0x226F14, 0}, {other, 0x226F14, 50},
                {client, 0x226EEC, 0}, {other, 0x226F14, 50}, {client, 0x226F14, 0},
                {other, 0x226F14, 60}, {other, 0x226F14, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(driver.Control(row.asker, row.code, 3, {}, 64).status, row.status);
    driver.Misbehave({.times = 9, .refuse = 50});
    EXPECT_EQ(Links().status, 50u);
    driver.Behave();
    EXPECT_EQ(Links().status, 0u);
}

TEST_F(DriverFaults, OnlyARefusedRequestIsNotCarriedOut) {
    const Bytes edit = BlockRecord(13, 21, 1, 1, {});
    driver.Misbehave({.refuse = 50});
    EXPECT_EQ(Tell(0x22B730, edit), 50u);
    EXPECT_TRUE(Events().empty());
    driver.Misbehave({.code = 0x22B730, .status = 50});
    EXPECT_EQ(Tell(0x22B730, edit), 50u);
    EXPECT_EQ(Events().size(), 1u);
}

TEST_F(DriverFaults, HoldAnswersBackUntilTheSilenceEnds) {
    driver.Misbehave({.times = 2, .silent = true});
    const Answer first = Ask(0x226F14, {});
    EXPECT_EQ(first.bytes.size(), 4u) << "the answer is there";
    EXPECT_FALSE(driver.SilenceHasEnded(first.silence));
    EXPECT_TRUE(driver.IsSilent());
    driver.EndSilence();
    EXPECT_TRUE(driver.SilenceHasEnded(first.silence));
    EXPECT_FALSE(driver.IsSilent());
    const Answer second = Ask(0x226F14, {});
    EXPECT_FALSE(driver.SilenceHasEnded(second.silence)) << "begun after the end";
    driver.Remove();
    EXPECT_TRUE(driver.SilenceHasEnded(second.silence));
    EXPECT_EQ(silenceEnded, 2);
}

TEST_F(DriverFaults, SpoilReads) {
    const auto read = [this] { return driver.TakeEvents(client, 1024); };
    driver.Misbehave({.code = kEventRead, .patches = {{4, 0xFFFF}}, .silent = true});
    EXPECT_FALSE(read()) << "nothing to spoil yet";
    EXPECT_TRUE(ready.empty());
    driver.AddProcess(1, u"a");
    const auto spoiled = read();
    ASSERT_TRUE(spoiled);
    EXPECT_EQ(WordAt(spoiled->bytes, 4), 0xFFFFu);
    EXPECT_NE(spoiled->silence, 0u);

    ready.clear();
    driver.AddProcess(1, u"a");
    for (const Bytes& bytes : {Bytes(Packet().Words({27, 0xFFFFFFF0, 0, 0})), Bytes{}, Bytes(7)}) {
        driver.Misbehave({.code = kEventRead, .client = client, .answer = bytes});
        const auto answer = read();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 0u);
        EXPECT_EQ(answer->bytes, bytes);
    }
    EXPECT_EQ(ready, (std::vector<ClientId>(4, client))) << "an event, then three waiting faults";
    EXPECT_EQ(Events().size(), 1u) << "the false answers took nothing";
}

TEST_F(DriverFaults, WakeTheReadsThatWillMeetThem) {
    driver.Misbehave({.code = kEventRead, .refuse = 31});
    EXPECT_EQ(driver.TakeEvents(client, 1024)->status, 31u);
    EXPECT_FALSE(driver.TakeEvents(client, 1024));
    const ClientId other = driver.OpenClient();
    driver.AddProcess(1, u"a");
    Events(other);
    ready.clear();
    driver.Misbehave({.code = kEventRead, .skip = 1, .refuse = 31});
    EXPECT_TRUE(ready.empty());
    EXPECT_EQ(driver.TakeEvents(client, 1024)->status, 0u);
    EXPECT_EQ(ready, (std::vector{client, other})) << "either's next read meets the fault";
}

TEST(DriverRemoval, EndsEverything) {
    for (const bool byFault : {false, true}) {
        Bench bench;
        bench.driver.Misbehave({.code = 0x22B73C, .removeDevice = true});
        EXPECT_EQ(byFault ? bench.Tell(0x22B73C, SampleProfile()) : 1617u, 1617u);
        bench.driver.Remove();
        bench.driver.Remove();
        EXPECT_EQ(bench.removed, 1);
        EXPECT_EQ(bench.ready, std::vector{bench.client}) << "its read is to be failed";
        EXPECT_TRUE(bench.driver.IsRemoved());
        EXPECT_EQ(bench.Tell(0x226F14, {}), 1617u);
        EXPECT_EQ(bench.driver.TakeEvents(bench.client, 1024)->status, 1617u);
        EXPECT_EQ(bench.driver.OpenClient(), 0u);
    }
    DriverCore unheard;
    unheard.OpenClient();
    unheard.Remove();
    unheard.EndSilence();
}

// Clients that edit, read and come and go on threads of their own: every event reaches the client
// that stays, in the order of the cookies.
TEST(DriverThreads, LoseNoEvent) {
    constexpr int kEdits = 500;
    Bench bench;
    bench.Tell(0x22B73C, ProfileRecord(1, {}));
    bench.Events();
    std::atomic<int> editors = 2;
    const auto edit = [&] {
        const ClientId editor = bench.driver.OpenClient();
        for (int i = 0; i < kEdits; ++i)
            bench.driver.Control(editor, 0x22B730, 3, BlockRecord(11, 21, 1, 1, {}), 0);
        bench.driver.CloseClient(editor);
        --editors;
    };
    std::thread first(edit), second(edit);
    std::vector<Bytes> events;
    for (bool last = false; !last;) {
        last = editors == 0;
        for (Bytes& event : bench.Events())
            events.push_back(std::move(event));
    }
    first.join();
    second.join();
    ASSERT_EQ(events.size(), 2u * kEdits);
    for (std::size_t i = 0; i < events.size(); ++i)
        ASSERT_EQ(WordAt(events[i], 16 + 16), 2 + i);
}

}  // namespace
}  // namespace quorvel::simulation
