// The search for the client's process on a call stack.
#include "apo/client_probe.h"

#include <array>
#include <cstring>

#include "client/quorvel_audio_device.h"
#include "platform/simulation/driver/simulated_driver.h"
#include "platform/simulation/machine/engine_call.h"
#include "tests/support/handles.h"

namespace quorvel::test {
namespace {

using platform::MachineStep;
using simulation::SimulatedMachine;

constexpr CLSID kClass = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr DWORD kClient = 4711;  // the only process that the driver knows
constexpr DWORD kArgument = 0x5000;

class ClientProbeTest : public HandleBalance {
  protected:
    // Makes `size` bytes readable behind the word `candidate`, with the class id at `classPlace`
    // of them, as far as it fits.
    void Place(DWORD address, DWORD candidate, std::size_t classPlace, std::size_t size) {
        std::vector<std::byte> bytes(4 + 400);
        std::memcpy(bytes.data(), &candidate, 4);
        std::memcpy(&bytes[4 + classPlace], &kClass, sizeof(kClass));
        machine.WriteMemory(address, std::span(bytes).first(4 + size));
    }

    struct Frame {
        const char16_t* moduleName;
        const char16_t* imagePath;
        DWORD64 argument;
    };

    DWORD Find(DWORD osMajorVersion, const std::vector<Frame>& frames) {
        asked = 0;
        ClientProbe probe(kClass, osMajorVersion, [&](DWORD process) -> std::u16string {
            ++asked;
            return process == kClient ? u"C:\\game.exe" : u"";
        });
        for (const Frame& each : frames) {
            STACKFRAME64 frame{};
            frame.Params[1] = each.argument;
            if (!probe.TakeFrame(frame, {}, nullptr, each.moduleName, each.imagePath)) break;
        }
        return probe.Client() ? probe.Client()->processId : 0;
    }

    // On Windows 7, with the record at distance 2.
    DWORD FindAtDistanceTwo() {
        return Find(6, {kLibrary, {u"audiodg", nullptr, kArgument}, kEngine, kSystem});
    }

    static constexpr Frame kLibrary = {u"APO", u"C:\\APO.dll", 0};
    static constexpr Frame kEngine = {u"audiodg", u"C:\\audiodg.exe", 0};
    static constexpr Frame kHolder = {u"audiodg", u"C:\\audiodg.exe", kArgument};
    static constexpr Frame kSystem = {u"kernel32", u"C:\\kernel32.dll", 0};

    SimulatedMachine machine;
    int asked = 0;  // the driver for a path
};

TEST_F(ClientProbeTest, DistancesAndNames) {
    Place(kArgument + 12, kClient, 8, 300);
    const auto named = [](const char16_t* moduleName, const char16_t* path) {
        return std::vector<Frame>{{moduleName, path, kArgument}, kSystem};
    };
    const struct {
        const char* name;
        DWORD osMajorVersion;
        std::vector<Frame> frames;
        bool isFound;
    } cases[] = {
        {"distance 2", 6, {kHolder, kEngine, kSystem}, true},
        {"distance 2 is a frame of ours",
         6,
         {{u"APO", nullptr, kArgument}, kEngine, kSystem},
         true},
        {"distance 1, old system", 9, {kEngine, kHolder, kSystem}, false},
        {"distance 1, new system", 10, {kEngine, kHolder, kSystem}, true},
        {"distance 3", 10, {kHolder, kEngine, kEngine, kSystem}, false},
        {"a single record, old system", 6, {kHolder, kSystem}, false},
        {"a single record, new system", 11, {kHolder, kSystem}, true},
        {"the engine is never left", 10, {kLibrary, kHolder, kEngine}, false},
        {"the engine is never entered", 10, {{u"APO", nullptr, kArgument}, kSystem}, false},
        {"letter case", 10, named(u"AudioDG", nullptr), true},
        {"a longer name", 10, named(u"audiodg64", nullptr), true},
        {"a shorter name", 10, named(u"audiod", nullptr), false},
        {"the name goes before the path", 10, named(u"other", u"audiodg.exe"), false},
        {"a bare path", 10, named(nullptr, u"AUDIODG.EXE"), true},
        {"a full path", 10, named(nullptr, u"C:\\Windows\\audiodg.exe"), false},
        {"a path with a slash", 10, named(nullptr, u"/audiodg.exe"), false},
        {"no name at all", 10, named(nullptr, nullptr), false},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Find(row.osMajorVersion, row.frames), row.isFound ? kClient : 0) << row.name;
}

TEST_F(ClientProbeTest, Records) {
    constexpr DWORD kUnknown = 99;
    const struct {
        const char* name;
        DWORD candidates[2];  // at 12 and 16 bytes
        std::size_t classPlace, size;
        DWORD expected;
        int asked;
    } cases[] = {
        {"directly behind the candidate", {kClient, 0}, 0, 300, kClient, 1},
        {"at the end of the search", {kClient, 0}, 284, 400, kClient, 1},
        {"across the end of the search", {kClient, 0}, 285, 300, 0, 0},
        {"odd place in a partial read", {kClient, 0}, 23, 39, kClient, 1},
        {"across the end of a partial read", {kClient, 0}, 24, 39, 0, 0},
        {"16 bytes are too few", {kClient, 0}, 0, 16, 0, 0},
        {"17 bytes are enough", {kClient, 0}, 0, 17, kClient, 1},
        {"nothing behind the candidate", {kClient, 0}, 0, 0, 0, 0},
        {"second place", {0, kClient}, 0, 300, kClient, 1},
        {"an unknown first candidate bars the second", {kUnknown, kClient}, 4, 300, 0, 1},
        {"no candidate", {0, 0}, 8, 300, 0, 0},
    };
    for (const auto& row : cases) {
        machine.Change([](platform::MachineState& state) { state.memory = {}; });
        if (row.candidates[0] == 0) {
            Place(kArgument + 12, 0, 0, 0);
            Place(kArgument + 16, row.candidates[1], row.classPlace, row.size);
        } else {
            Place(kArgument + 12, row.candidates[0], row.classPlace, row.size);
            if (row.candidates[1] != 0)
                machine.WriteMemory(kArgument + 16, std::as_bytes(std::span(&kClient, 1)));
        }
        EXPECT_EQ(FindAtDistanceTwo(), row.expected) << row.name;
        EXPECT_EQ(asked, row.asked) << row.name;
    }
}

TEST_F(ClientProbeTest, FailuresOfTheSystem) {
    const struct {
        MachineStep step;
        DWORD error;
        std::size_t skip, times;
        DWORD expected;
    } cases[] = {
        {MachineStep::kOpenProcess, ERROR_ACCESS_DENIED, 0, 1, 0},
        {MachineStep::kReadMemory, ERROR_PARTIAL_COPY, 0, 1, 0},  // the candidate
        {MachineStep::kReadMemory, ERROR_NOACCESS, 1, 1, 0},      // what follows it
    };
    Place(kArgument + 12, kClient, 8, 300);
    for (const auto& row : cases) {
        machine.Fail(row.step, row.error, row.skip, row.times);
        EXPECT_EQ(FindAtDistanceTwo(), row.expected);
        EXPECT_EQ(FindAtDistanceTwo(), kClient);
    }
}

TEST_F(ClientProbeTest, WalksTheEnginesStackAndAsksTheDriver) {
    simulation::SimulatedDriver driver(u"\\\\?\\Quorvel#Device");
    driver.Core().AddProcess(kClient, u"C:\\Games\\arena.exe");
    QuorvelAudioDevice device;
    ASSERT_EQ(device.Open(u"\\\\?\\Quorvel#Device", nullptr), 0u);

    simulation::StageEngineCall(machine, {kClass, kClient});
    const auto client = FindClientProcess(kClass, 6, device);
    ASSERT_TRUE(client);
    EXPECT_EQ(client->processId, kClient);
    EXPECT_EQ(client->imagePath, u"C:\\Games\\arena.exe");
    EXPECT_FALSE(machine.Symbols().isOpen);

    simulation::StageEngineCall(
        machine,
        {.classId = kClass, .clientProcess = kClient, .framesBeyond = 0, .processPlace = 16});
    EXPECT_FALSE(FindClientProcess(kClass, 6, device));
    EXPECT_TRUE(FindClientProcess(kClass, 10, device));
    EXPECT_FALSE(FindClientProcess({1, 2, 3, {4}}, 10, device));
    device.Close();
    EXPECT_FALSE(FindClientProcess(kClass, 10, device)) << "nobody knows the process";
}

}  // namespace
}  // namespace quorvel::test
