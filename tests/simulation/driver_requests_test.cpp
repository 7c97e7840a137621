#include <set>

#include "tests/simulation/driver_bench.h"

namespace quorvel::simulation {
namespace {

constexpr std::uint32_t kRead = 1;
constexpr std::uint32_t kWrite = 2;

// How an answer that does not fit is given.
enum class Overflow { kNone, kRefused, kFront, kOwn };

struct Row {
    std::uint32_t code;
    std::uint32_t access;
    Bytes request;
    Bytes answer;
    Overflow overflow;
    std::size_t sizeEnd = 0;  // room in which a front still tells the full size
};

// Every code once, asked of a driver that holds the sample profile (cookie 1) and knows process 7.
// The changes come last, in an order in which each finds what it needs.
std::vector<Row> Rows() {
    const Bytes profile = SampleProfile();
    const Bytes stored = Packet()
                             .Add(Slice(profile, 0, 20))
                             .Words({1, 0})
                             .Add(Slice(profile, 28, profile.size() - 28));
    const Bytes block = BlockRecord(11, 21, 1, 1, {std::byte{7}, std::byte{8}, std::byte{9}});
    const Bytes link = LinkRecord(1, 1, 11, 12);
    const Bytes blocks = SectionRecord(1, 1, {block, BlockRecord(12, 22, 1, 1, {})});
    const Bytes links = SectionRecord(1, 1, {link});
    const Bytes paths = PathsRecord(Guid(1), {u"c:\\a.exe"});
    const Bytes audio = Packet().Words({0x6994AD04, 0x11D093EF, 0xA000CCA3, 0x963122C9});
    using enum Overflow;
    return {
        {0x226EE0, kRead, {}, Packet().Text(u"2.5"), kRefused},
        {0x226EE4, kRead, audio, Packet().Text(u"\\??\\x"), kRefused},
        {0x226EE8, kRead, {}, Packet().Words({5, 6, 7}), kRefused},
        {0x226EEC, kRead, {}, Packet().Words({6, 0x60F}), kRefused},
        {0x226F0C, kRead, {}, Packet().Text(std::u16string_view(u"gone\0", 5)), kRefused},
        {0x226F14, kRead, {}, Packet().Word(1), kRefused},
        {0x226F24, kRead, Packet().Word(9), Packet().Words({9, 3, 4, 2, 50, 60}), kOwn},
        {0x226F3C, kRead, Packet().Word(7), Packet().Text(std::u16string_view(u"C:\\A.EXE\0", 9)),
         kRefused},
        {0x226F5C, kRead, SectionQuestion(1, 1), blocks, kFront, 4},
        {0x226F60, kRead, BlockQuestion(11, 1, 1), block, kRefused},
        {0x226F6C, kRead, Guid(1), stored, kFront, 4},
        {0x226F70, kRead, Packet().Word(7), stored, kFront, 4},
        {0x226F7C, kRead, Guid(1), paths, kFront, 20},
        {0x226F80, kRead, {}, Packet().Words({1, 1}).Guid(1), kOwn},
        {0x226F84, kRead, SectionQuestion(1, 1), links, kFront, 4},
        {0x22B6E8, kWrite, Packet().Words({7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), {}, kNone},
        {0x22B6EC, kWrite, Packet().Word(123), {}, kNone},
        {0x22B6F8, kWrite, Packet().Word(0x3F), {}, kNone},
        {0x22B6FC, kWrite, Packet().Words({1, 1}), {}, kNone},
        {0x22B704, kWrite, Packet().Words({1, 2}), {}, kNone},
        {0x22B708, kWrite, Packet().Words({1, 2, 0x3F000000, 5, 4, 2, 70, 80}), {}, kNone},
        {0x22B72C, kWrite, blocks, {}, kNone},
        {0x22B730, kWrite, block, {}, kNone},
        {0x22B754, kWrite, links, {}, kNone},
        {0x22B758, kWrite, link, {}, kNone},
        {0x22B75C, kWrite, link, {}, kNone},
        {0x22B734, kWrite, BlockQuestion(11, 1, 1), {}, kNone},
        {0x22B74C, kWrite, paths, {}, kNone},
        {0x22B73C, kWrite, profile, {}, kNone},
        {0x22B744, kWrite, Guid(1), {}, kNone},
        {0x22B748, kWrite, Packet().Word(0), {}, kNone},
    };
}

class DriverRequests : public DriverTest {
  protected:
    void SetUp() override {
        DeviceAnswers answers;
        answers.version = u"2.5";
        answers.links.begin()->second = u"\\??\\x";
        answers.formats = Packet().Words({5, 6, 7});
        answers.channelsMaskInfo[0] = 6;
        answers.channelsMaskInfo[1] = 0x60F;
        answers.removalEventName = u"gone";
        answers.analysisHeader[0] = 3;
        answers.analysisHeader[1] = 4;
        answers.frequencies = {50, 60};
        driver.SetAnswers(answers);
        driver.AddProcess(7, u"C:\\A.EXE");
        ASSERT_EQ(Tell(0x22B73C, SampleProfile()), 0u);
        Events();
    }
};

TEST_F(DriverRequests, AreRefusedForWrongAccessAndLengthAndServedOtherwise) {
    std::set<std::uint32_t> codes;
    for (const Row& row : Rows()) {
        SCOPED_TRACE(testing::Message() << std::hex << row.code);
        codes.insert(row.code);
        EXPECT_EQ(driver.Control(client, row.code, 3 - row.access, row.request, 4096).status, 5u);
        Bytes wrong = row.request;
        wrong.push_back({});
        EXPECT_EQ(Tell(row.code, wrong), 87u);
        for (wrong = row.request; !wrong.empty();) {
            wrong.pop_back();
            EXPECT_EQ(Tell(row.code, wrong), 87u) << wrong.size();
        }
        EXPECT_TRUE(Events().empty()) << "a refused request changes nothing";
        const Answer answer = driver.Control(client, row.code, row.access, row.request, 4096);
        EXPECT_EQ(answer.status, 0u);
        EXPECT_EQ(answer.bytes, row.answer);
        Events();
    }
    EXPECT_EQ(codes.size(), 31u);
}

TEST_F(DriverRequests, AnswersThatDoNotFitAreCutOrRefused) {
    for (const Row& row : Rows()) {
        SCOPED_TRACE(testing::Message() << std::hex << row.code);
        if (row.overflow == Overflow::kNone || row.overflow == Overflow::kOwn) continue;
        EXPECT_EQ(Ask(row.code, row.request, row.answer.size()).status, 0u);
        for (std::size_t room = 0; room < row.answer.size(); ++room) {
            const bool front = row.overflow == Overflow::kFront && room >= row.sizeEnd;
            const Answer answer = Ask(row.code, row.request, room);
            ASSERT_EQ(answer.status, front ? 234u : 122u) << room;
            ASSERT_EQ(answer.bytes, Slice(row.answer, 0, front ? room : 0)) << room;
        }
    }
}

TEST_F(DriverRequests, AnalysisHasAsManyEntriesAsFit) {
    const struct {
        std::size_t room;
        std::uint32_t status;
        std::uint32_t entries;
    } rows[] = {{15, 122, 0}, {16, 0, 0}, {19, 0, 0}, {20, 0, 1}, {24, 0, 2}, {400, 0, 2}};
    for (const auto& row : rows) {
        const Answer answer = Ask(0x226F24, Packet().Word(9), row.room);
        ASSERT_EQ(answer.status, row.status) << row.room;
        if (row.status != 0) continue;
        EXPECT_EQ(WordAt(answer.bytes, 12), row.entries) << row.room;
        EXPECT_EQ(answer.bytes.size(), 16 + 4 * row.entries);
    }
}

TEST_F(DriverRequests, KnowOnlyTheirCodesAndClients) {
    for (const std::uint32_t code : {0u, 0x226EDCu, 0x226EE1u, 0x226F10u, 0x22B760u, 0xFFFFFFFFu})
        EXPECT_EQ(Tell(code, {}), 1u) << code;
    EXPECT_EQ(driver.Control(client + 1, 0x226F14, 3, {}, 4).status, 6u);
    EXPECT_EQ(driver.TakeEvents(client + 1, 1024)->status, 6u);
    driver.CloseClient(client);
    EXPECT_EQ(Tell(0x226F14, {}), 6u);
    EXPECT_NE(driver.OpenClient(), client);
}

// By status. They are asked of a driver that holds the sample profile.
const struct {
    std::uint32_t status;
    std::vector<std::pair<std::uint32_t, Bytes>> requests;
} kRefusals[] = {{87,  // fixed fields have one value, and sizes bounds
                  {{0x22B6EC, Packet().Word(122)},
                   {0x22B748, Packet().Word(1)},
                   {0x226F5C, Packet().Words({36, 0, 0, 0}).Guid(1).Word(1)},
                   {0x226F84, Packet().Words({0, 0, 0, 1}).Guid(1).Word(1)},
                   {0x226F60, BlockRecord(11, 21, 1, 1, {})},
                   {0x22B734, BlockRecord(11, 21, 1, 1, {})},
                   {0x226F60, Packet().Guid(11).Guid(0).Guid(1).Words({1, 1})},
                   {0x22B734, Packet().Guid(11).Guid(0).Guid(1).Words({1, 1})},
                   {0x22B708, Packet().Words({1, 2, 3, 4, 5, 0x40000000})},
                   {0x22B708, Packet().Words({1, 2, 3, 4, 5, 1, 6, 7})},
                   {0x22B754, Packet().Words({88, 0, 88, 0}).Guid(1).Word(1)},
                   {0x22B730, Packet().Guid(11).Guid(21).Guid(1).Words({1, ~0u})},
                   {0x22B74C, Packet().Guid(1).Words({~0u, 0})}}},
                 {13,  // the size is right, what is inside is not
                  {{0x22B72C, SectionRecord(1, 1, {LinkRecord(1, 1, 11, 12)})},
                   {0x22B754, SectionRecord(1, 1, {BlockRecord(11, 21, 1, 1, {})})},
                   {0x22B754, Packet().Words({36, 1, 36, 1}).Guid(1).Word(1)},
                   {0x22B754, Packet().Words({36, 0, 40, 0}).Guid(1).Word(1)},
                   {0x22B74C, Packet().Guid(1).Words({4, 1}).Text(u"ab")},
                   {0x22B74C, Packet().Guid(1).Words({1, 0}).Add(Bytes(1))},
                   {0x22B74C, Packet().Guid(1).Words({2, 2}).Add(Bytes(2))}}},
                 {1168,  // not found
                  {{0x226EE4, Guid(3)},
                   {0x226F3C, Packet().Word(8)},
                   {0x226F5C, SectionQuestion(2, 1)},
                   {0x226F5C, SectionQuestion(1, 3)},
                   {0x226F84, SectionQuestion(1, 3)},
                   {0x226F60, BlockQuestion(13, 1, 1)},
                   {0x226F60, BlockQuestion(11, 1, 2)},
                   {0x226F60, BlockQuestion(11, 2, 1)},
                   {0x226F6C, Guid(2)},
                   {0x226F70, Packet().Word(8)},
                   {0x226F7C, Guid(2)},
                   {0x22B72C, SectionRecord(2, 1, {})},
                   {0x22B730, BlockRecord(11, 21, 2, 1, {})},
                   {0x22B734, BlockQuestion(13, 1, 1)},
                   {0x22B734, BlockQuestion(11, 1, 3)},
                   {0x22B744, Guid(2)},
                   {0x22B74C, PathsRecord(Guid(2), {})},
                   {0x22B754, SectionRecord(2, 1, {})},
                   {0x22B758, LinkRecord(1, 1, 11, 13)},
                   {0x22B758, LinkRecord(1, 1, 13, 11)},
                   {0x22B758, LinkRecord(1, 3, 11, 12)},
                   {0x22B75C, LinkRecord(1, 1, 12, 11)},
                   {0x22B75C, LinkRecord(2, 1, 11, 12)}}}};

TEST_F(DriverRequests, WhatIsWrongIsRefusedAndChangesNothing) {
    for (const auto& row : kRefusals)
        for (const auto& [code, request] : row.requests)
            EXPECT_EQ(Tell(code, request), row.status) << std::hex << code;
    EXPECT_TRUE(Events().empty());
}

TEST_F(DriverRequests, StreamsAndAnalysisAreRecorded) {
    const Bytes format = Packet().Words({7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    const Bytes params = Packet().Words({1, 2, 3, 5, 4, 1, 70});
    ASSERT_EQ(Tell(0x22B6E8, format), 0u);
    ASSERT_EQ(Tell(0x22B6EC, Packet().Word(123)), 0u);
    ASSERT_EQ(Tell(0x22B704, Packet().Words({8, 9})), 0u);
    ASSERT_EQ(Tell(0x22B708, params), 0u);
    EXPECT_EQ(driver.GetStreamAnalysis().enable, Bytes(Packet().Words({8, 9})));
    EXPECT_EQ(driver.GetStreamAnalysis().params, params);
    const auto notices = driver.GetStreamNotices();
    ASSERT_EQ(notices.size(), 2u);
    EXPECT_EQ(notices[0].client, client);
    EXPECT_EQ(notices[0].bytes, format);
    EXPECT_EQ(std::pair(notices[0].code, notices[1].code), std::pair(0x22B6E8u, 0x22B6ECu));
    for (std::size_t i = 0; i < DriverState::kMaxNotices; ++i)
        Tell(0x22B6F8, Packet().Word(static_cast<std::uint32_t>(i)));
    EXPECT_EQ(driver.GetStreamNotices().size(), DriverState::kMaxNotices);
    EXPECT_EQ(driver.GetStreamNotices().front().bytes, Bytes(Packet().Word(0)));
}

}  // namespace
}  // namespace quorvel::simulation
