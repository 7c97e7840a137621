// Every operation against a driver that refuses, cuts, lies, goes away or is not there.
#include <functional>
#include <future>

#include "tests/client/client_bench.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/fake_device.h"

namespace quorvel::test {
namespace {

using simulation::Misbehaviour;

// Something to call each operation with.
struct Arguments {
    Arguments() { FillSample(profile); }
    ~Arguments() {
        if (text != noText) QuorvelAudioDevice::Free(text);
        if (formats != &noFormats) QuorvelAudioDevice::Free(formats);
    }
    bool WasGivenNull() const { return !text || !formats; }
    bool IsUntouched() const { return text == noText && formats == &noFormats; }

    QuorvelAudioProfile profile;
    QuorvelAudioProfilesList list;
    WCHAR noText[1]{};
    _QuorvelSupportedDataFormats noFormats;
    WCHAR* text = noText;
    _QuorvelSupportedDataFormats* formats = &noFormats;
    _QuorvelChannelsMaskInfo mask;
    _QuorvelStreamAnalysisData analysis;
    WCHAR path[32]{};
    QuorvelAudioBlock& Block() { return profile.GetChain(1, false)->blocks.Item(0); }
    _QuorvelAudioBlockLink& Link() { return profile.GetChain(1, false)->links.Item(0); }
};

// What an operation makes of a false answer: of none at all, of 128 bytes 0xFF, of those said to be
// a part of more, and of three bytes said to be such a part.
struct Outcomes {
    DWORD empty = 0, garbage = 0, huge = 234, tiny = 234;
};
constexpr Outcomes kSends = {};
constexpr Outcomes kRecord = {13, 13, 8, 13};
constexpr Outcomes kPathsRecord = {0, 13, 8, 13};
constexpr Outcomes kNoSizeTold = {13, 13, 234, 234};

struct Operation {
    const char* name;
    DWORD code;
    Outcomes outcomes;
    DWORD (*run)(QuorvelAudioDevice&, Arguments&);
};

using D = QuorvelAudioDevice;
using A = Arguments;
constexpr int kPid = 4242;
const Operation kOperations[] = {
    {"GetProfileData", 0x226F6C, kRecord, [](D& d, A& a) { return d.GetProfileData(&a.profile); }},
    {"GetProfileForPID", 0x226F70, kRecord,
     [](D& d, A& a) { return d.GetProfileForPID(kPid, &a.profile); }},
    {"GetProfileBlocks", 0x226F5C, kRecord,
     [](D& d, A& a) { return d.GetProfileBlocks(&a.profile, 1); }},
    {"GetProfileLinks", 0x226F84, kRecord,
     [](D& d, A& a) { return d.GetProfileLinks(&a.profile, 1); }},
    {"GetProfilePaths", 0x226F7C, kPathsRecord,
     [](D& d, A& a) { return d.GetProfilePaths(&a.profile); }},
    {"GetAllProfiles", 0x226F80, kNoSizeTold, [](D& d, A& a) { return d.GetAllProfiles(&a.list); }},
    {"GetAudioBlock", 0x226F60, kNoSizeTold,
     [](D& d, A& a) { return d.GetAudioBlock(&a.Block()); }},
    {"GetDriverVersion", 0x226EE0, kSends, [](D& d, A& a) { return d.GetDriverVersion(&a.text); }},
    {"GetAudioInterface", 0x226EE4, kSends,
     [](D& d, A& a) { return d.GetAudioInterface(&a.text); }},
    {"GetDataFormatRange", 0x226EE8, kSends,
     [](D& d, A& a) { return d.GetDataFormatRange(&a.formats); }},
    {"GetChannelMask", 0x226EEC, kSends, [](D& d, A& a) { return d.GetChannelMask(&a.mask); }},
    {"GetLastFrequenciesInfo", 0x226F24, kSends,
     [](D& d, A& a) { return d.GetLastFrequenciesInfo(&a.analysis, 0); }},
    {"GetProcessPathByPID", 0x226F3C, kSends,
     [](D& d, A& a) { return d.GetProcessPathByPID(kPid, a.path, 32); }},
    {"EnableStreamAnalysis", 0x22B704, kSends,
     [](D& d, A&) { return d.EnableStreamAnalysis(1, 2); }},
    {"SetStreamAnalysisParams", 0x22B708, kSends,
     [](D& d, A&) { return d.SetStreamAnalysisParams(1, 2, 0.5f, 4, 5, 0, nullptr); }},
    {"SetProfileBlocks", 0x22B72C, kSends,
     [](D& d, A& a) { return d.SetProfileBlocks(&a.profile, 1); }},
    {"SetAudioBlock", 0x22B730, kSends, [](D& d, A& a) { return d.SetAudioBlock(&a.Block()); }},
    {"SetProfilePaths", 0x22B74C, kSends, [](D& d, A& a) { return d.SetProfilePaths(&a.profile); }},
    {"SetProfileLinks", 0x22B754, kSends,
     [](D& d, A& a) { return d.SetProfileLinks(&a.profile, 1); }},
    {"RemoveProfileLink", 0x22B75C, kSends,
     [](D& d, A& a) { return d.RemoveProfileLink(&a.Link()); }},
    {"SetProfileLink", 0x22B758, kSends, [](D& d, A& a) { return d.SetProfileLink(&a.Link()); }},
    {"RemoveAudioBlock", 0x22B734, kSends,
     [](D& d, A& a) { return d.RemoveAudioBlock(&a.Block()); }},
    {"SetProfileData", 0x22B73C, kSends, [](D& d, A& a) { return d.SetProfileData(&a.profile); }},
    {"RemoveProfile", 0x22B744, kSends, [](D& d, A& a) { return d.RemoveProfile(&a.profile); }},
    {"ClearProfiles", 0x22B748, kSends, [](D& d, A&) { return d.ClearProfiles(); }},
};

bool HandsOutABuffer(const Operation& operation) {
    return operation.code >= 0x226EE0 && operation.code <= 0x226EE8;
}

class DriverAnswers : public ClientTest {
  protected:
    void SetUp() override {
        ClientTest::SetUp();
        ASSERT_EQ(device.Open(kPath, nullptr), 0u);
        Core().AddProcess(kPid, u"C:\\Games\\arena.exe");
    }
    void TearDown() override {
        device.Close();
        ClientTest::TearDown();
    }
    // Runs the operation on a driver that holds the sample and commits `fault`, then a good
    // request.
    void Expect(const Operation& operation, Misbehaviour fault, DWORD result, DWORD error) {
        SCOPED_TRACE(operation.name);
        Arguments arguments;
        ASSERT_EQ(device.SetProfileData(&arguments.profile), 0u);
        fault.code = operation.code;
        Core().Misbehave(fault);
        EXPECT_EQ(operation.run(device, arguments), result);
        EXPECT_EQ(device.GetError(), error);
        if (error != 0) {
            EXPECT_EQ(arguments.WasGivenNull(), HandsOutABuffer(operation));
        }
        Core().Behave();
        EXPECT_EQ(device.GetChannelMask(&arguments.mask), 0u);
        EXPECT_EQ(device.GetError(), 0u) << "a success makes good";
    }

    QuorvelAudioDevice device;
};

TEST_F(DriverAnswers, EveryOperationMeetsEveryMisbehaviour) {
    const simulation::Bytes garbage(128, std::byte{0xFF});
    for (const Operation& operation : kOperations) {
        const auto& [empty, wrong, huge, tiny] = operation.outcomes;
        Expect(operation, {}, 0, 0);
        Expect(operation, {.refuse = 31}, 31, 31);
        Expect(operation, {.cutTo = 0}, empty, 0);
        Expect(operation, {.answer = garbage}, wrong, 0);
        Expect(operation, {.answer = garbage, .status = 234}, huge, 234);
        Expect(operation, {.answer = garbage, .cutTo = 3, .status = 234}, tiny, 234);
    }
}

TEST_F(DriverAnswers, AGoneOrClosedDeviceFailsEveryOperation) {
    driver->Remove();
    for (const DWORD error : {1617u, 13u}) {
        for (const Operation& operation : kOperations) {
            Arguments arguments;
            EXPECT_EQ(operation.run(device, arguments), error) << operation.name;
            EXPECT_EQ(device.GetError(), error) << operation.name;
            EXPECT_EQ(arguments.WasGivenNull(), HandsOutABuffer(operation)) << operation.name;
        }
        HANDLE event = nullptr;
        EXPECT_EQ(device.OpenDriverEvent(0x226F0C, event), error);
        EXPECT_EQ(device.GetError(), error);
        device.Close();
    }
    QuorvelAudioDevice neverOpened;
    EXPECT_EQ(neverOpened.GetSetData(0x226EEC, nullptr, 0, nullptr, 0, nullptr), 13u);
}

TEST_F(DriverAnswers, LyingRecordsAreRefused) {
    const struct {
        const char* what;
        std::size_t operation;
        Misbehaviour fault;
        DWORD result;
    } rows[] = {
        {"profile one byte short", 0, {.cutTo = 55}, 13},
        {"profile longer than it is", 0, {.patches = {{0, 5000}}}, 13},
        {"blocks one byte short", 2, {.cutTo = 35}, 13},
        {"blocks beyond the answer", 2, {.patches = {{8, 4000}}}, 13},
        {"more links than there are", 3, {.patches = {{12, 0x10000000}}}, 13},
        {"paths beyond the answer", 4, {.patches = {{16, 100}}}, 13},
        {"size of paths that wraps", 4, {.patches = {{16, 0xFFFFFFF0}}, .status = 234}, 8},
        {"number of profiles that wraps", 5, {.patches = {{0, 0x10000000}}}, 8},
        {"one profile more than there is", 5, {.patches = {{0, 2}, {4, 2}}}, 13},
        {"block of 100 bytes in 96", 6, {.patches = {{52, 100}}}, 13},
        {"block one byte short", 6, {.cutTo = 55}, 13},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Expect(kOperations[row.operation], row.fault, row.result, row.fault.status.value_or(0));
    }
}

// A second answer need not be longer than the first, and its failure counts.
TEST_F(DriverAnswers, TheSecondRequestIsAskedAsTold) {
    Expect(kOperations[0], {.status = 234}, 0, 0);
    Core().Misbehave({.code = kOperations[0].code, .skip = 1, .refuse = 50});
    Expect(kOperations[0], {.status = 234}, 50, 50);
}

using LyingSystem = FakeDeviceTest;

TEST_F(LyingSystem, ACountBeyondTheBufferIsNotBelieved) {
    for (const DWORD error : {0u, 234u}) {
        device->answer = [&](DWORD, auto, std::span<std::byte> out, DWORD& returned) {
            std::ranges::fill(out, std::byte{0x41});
            returned = 0xFFFFFFFF;
            return error;
        };
        QuorvelAudioDevice client;
        ASSERT_EQ(client.Open(kPath, nullptr), 0u);
        for (const Operation& operation : kOperations) {
            Arguments arguments;
            operation.run(client, arguments);
            EXPECT_EQ(client.GetError(), error) << operation.name;
        }
        DWORD bytes = 0;
        std::byte out[8];
        if (error == 0) {
            EXPECT_EQ(client.GetSetData(0x226EEC, nullptr, 0, out, 8, &bytes), 0u);
            EXPECT_EQ(bytes, 8u);
            WCHAR* text = nullptr;
            EXPECT_EQ(client.GetDriverVersion(&text), 0u);
            EXPECT_EQ(std::u16string(text), std::u16string(128, u'\x4141')) << "room to end it";
            QuorvelAudioDevice::Free(text);
            HANDLE event = nullptr;
            EXPECT_EQ(client.OpenDriverEvent(0x226F0C, event), ERROR_FILE_NOT_FOUND);
            EXPECT_EQ(client.GetError(), 0u);
        }
    }
}

TEST_F(LyingSystem, LateAnswersAreWaitedFor) {
    for (const Operation& operation : kOperations) {
        std::promise<void> asked, released;
        device->answer = [&](DWORD, auto, auto, DWORD& returned) {
            asked.set_value();
            released.get_future().wait();
            returned = 0;
            return 31u;
        };
        Arguments arguments;
        QuorvelAudioDevice client;
        ASSERT_EQ(client.Open(kPath, nullptr), 0u);
        auto result =
            std::async(std::launch::async, [&] { return operation.run(client, arguments); });
        asked.get_future().wait();
        EXPECT_EQ(result.wait_for(std::chrono::milliseconds(2)), std::future_status::timeout)
            << operation.name;
        released.set_value();
        EXPECT_EQ(result.get(), 31u) << operation.name;
    }
}

// Whichever allocation fails, the operation says so, hands nothing out and keeps nothing; without a
// request the result of the one before stays.
TEST_F(LyingSystem, WithoutMemoryAnOperationFailsWhole) {
    device->answer = [&](DWORD, auto, auto, DWORD& returned) { return returned = 0, 31u; };
    for (const Operation& operation : kOperations) {
        for (std::size_t n = 0;; ++n) {
            Arguments arguments;
            QuorvelAudioDevice client;
            ASSERT_EQ(client.Open(kPath, nullptr), 0u);
            AllocationFaults faults(n);
            const DWORD result = operation.run(client, arguments);
            EXPECT_EQ(faults.Live(), 0u) << operation.name;
            if (!faults.HasFailed()) break;
            EXPECT_EQ(result, 8u) << operation.name;
            if (client.GetError() == 8) continue;  // the system's own, within the request
            EXPECT_EQ(client.GetError(), 0u) << operation.name;
            EXPECT_TRUE(arguments.IsUntouched()) << operation.name;
        }
    }
}

}  // namespace
}  // namespace quorvel::test
