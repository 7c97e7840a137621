// The walk over the machine's call stack, its set-up and what the callback is told.
#include "diagnostics/stack_walker.h"

#include <stdexcept>

#include "platform/simulation/machine/simulated_machine.h"
#include "tests/support/handles.h"

namespace quorvel::test {
namespace {

using platform::MachineStep;
using Environment = std::map<std::u16string, std::u16string>;

struct SeenFrame {
    int index = 0;
    DWORD64 instruction = 0;
    DWORD64 secondParameter = 0;
    std::u16string moduleName, imagePath, symbolName;

    bool operator==(const SeenFrame&) const = default;
};

class StackWalkerTest : public HandleBalance {
  protected:
    // Three frames: with a symbol, before the first symbol of its module, in no module at all.
    void SetUp() override {
        HandleBalance::SetUp();
        machine.AddModule({u"host.exe", u"D:\\bin\\host.exe", 0x1000, 0x1000, {{0x10, u"Main"}}});
        machine.AddModule({u"two.parts.dll", u"D:\\two.parts.dll", 0x4000, 0x100, {{8, u"Late"}}});
        machine.SetCallStack({{0x1018, {1, 2, 3, 4}}, {0x4004, {5, 6}}, {0x9000, {}}});
    }

    // What the callback sees until it has `enough` frames.
    std::vector<SeenFrame> Walk(StackWalker& walker) {
        seen.clear();
        EXPECT_FALSE(walker.Walk());
        return seen;
    }
    StackWalker MakeWalker(std::size_t enough = 100) {
        return StackWalker(
            [this, enough](void* user, int index, const STACKFRAME64& frame, const CONTEXT& context,
                           DWORD* word, WCHAR* moduleName, WCHAR* imagePath, WCHAR* symbolName) {
                EXPECT_EQ(user, this);
                EXPECT_EQ(word, nullptr);
                EXPECT_EQ(context.Eip, frame.AddrPC.Offset);
                seen.push_back({index, frame.AddrPC.Offset, frame.Params[1],
                                moduleName ? moduleName : u"?", imagePath ? imagePath : u"?",
                                symbolName});
                return seen.size() < enough;
            },
            this);
    }

    const SeenFrame kInner = {0, 0x1018, 2, u"host", u"D:\\bin\\host.exe", u"Main"};
    const SeenFrame kMiddle = {1, 0x4004, 6, u"two.parts", u"D:\\two.parts.dll", u""};
    const SeenFrame kOuter = {2, 0x9000, 0, u"?", u"?", u""};

    simulation::SimulatedMachine machine;
    std::vector<SeenFrame> seen;
};

TEST_F(StackWalkerTest, ReportsEveryFrameUntilTheCallbackHasEnough) {
    {
        StackWalker walker = MakeWalker();
        EXPECT_EQ(Walk(walker), (std::vector{kInner, kMiddle, kOuter}));
        EXPECT_EQ(Walk(walker), (std::vector{kInner, kMiddle, kOuter}));
        EXPECT_EQ(machine.Calls(MachineStep::kBeginSymbols), 1u);
        EXPECT_EQ(SymGetOptions(), SYMOPT_FAIL_CRITICAL_ERRORS);
    }
    EXPECT_FALSE(machine.Symbols().isOpen);
    StackWalker contented = MakeWalker(1);
    EXPECT_EQ(Walk(contented), std::vector{kInner});
}

TEST_F(StackWalkerTest, WalksWithoutACallbackAndLetsExceptionsThrough) {
    EXPECT_FALSE(StackWalker({}, nullptr).Walk());
    EXPECT_EQ(machine.Calls(MachineStep::kStackStep), 3u);
    EXPECT_THROW(
        StackWalker([](auto&&...) -> bool { throw std::runtime_error(""); }, nullptr).Walk(),
        std::runtime_error);
    EXPECT_FALSE(machine.Symbols().isOpen);
}

TEST_F(StackWalkerTest, EndsWhereAFrameReturnsToItselfOrCannotBeRead) {
    StackWalker walker = MakeWalker();
    machine.SetCallStack({{0x1018, {}}, {0x1018, {}}, {0x1018, {}}});
    EXPECT_EQ(Walk(walker).size(), 1u);
    machine.SetCallStack({{0x1018, {}}, {0x1020, {}}, {0x1028, {}}});
    const DWORD inward = simulation::SimulatedMachine::kStackBase;
    machine.WriteMemory(inward + 24, std::as_bytes(std::span(&inward, 1)));
    EXPECT_EQ(Walk(walker).size(), 2u) << "a frame that leads inward again";
    machine.Change([](platform::MachineState& state) { state.memory = {}; });
    EXPECT_EQ(Walk(walker).size(), 0u);
}

TEST_F(StackWalkerTest, TriesTheSetUpAgainUntilAModuleIsLoaded) {
    StackWalker walker = MakeWalker();
    for (const auto step :
         {MachineStep::kBeginSymbols, MachineStep::kSnapshotModules, MachineStep::kLoadModule}) {
        machine.Fail(step, ERROR_GEN_FAILURE);
        for (int attempt = 0; attempt < 2; ++attempt)
            EXPECT_TRUE(Walk(walker).empty());
        EXPECT_FALSE(machine.Symbols().isOpen);
        machine.Behave();
    }
    EXPECT_EQ(machine.Calls(MachineStep::kBeginSymbols), 6u);

    machine.Fail(MachineStep::kLoadModule, ERROR_GEN_FAILURE, 0, 1);
    EXPECT_EQ(Walk(walker).size(), 3u) << "one of two is enough";
    EXPECT_EQ(seen[0].moduleName, u"?");
    EXPECT_EQ(seen[0].symbolName, u"");
}

TEST_F(StackWalkerTest, SearchPath) {
    const std::u16string full(1500, u'v');
    const std::u16string cut(1023, u'v');
    const struct {
        const char16_t* image;
        bool isWow64;
        Environment variables;
        std::u16string expected;
    } cases[] = {
        {u"D:\\bin\\host.exe", true, {{u"_NT_SYMBOL_PATH", u"D"}}, u".;D:\\bin;D;"},
        {u"D:/bin/host.exe", true, {{u"_NT_ALTERNATE_SYMBOL_PATH", u"E"}}, u".;D:/bin;E;"},
        {u"D:host.exe", true, {{u"SystemRoot", u"W"}}, u".;D;W;W\\SysWOW64;"},
        {u"\\host.exe", false, {{u"SYSTEMROOT", u"W"}}, u".;W;W\\System32;"},
        {u"",
         false,
         {{u"_NT_ALTERNATE_SYMBOL_PATH", u"E"}, {u"_NT_SYMBOL_PATH", u"D"}, {u"SYSTEMROOT", u"W"}},
         u".;D;E;W;W\\System32;"},
        {u"", true, {{u"_NT_SYMBOL_PATH", u""}, {u"SYSTEMROOT", u""}}, u".;"},
        {u"", true, {{u"_NT_SYMBOL_PATH", full}}, u".;" + cut + u";"},
        {u"",
         true,
         {{u"_NT_SYMBOL_PATH", full}, {u"_NT_ALTERNATE_SYMBOL_PATH", full}, {u"SYSTEMROOT", full}},
         (u".;" + cut + u";" + cut + u";" + cut + u";" + cut).substr(0, 4095)},
    };
    for (const auto& row : cases) {
        machine.Change([&](platform::MachineState& state) {
            state.modules.front().imagePath = row.image;
            state.isWow64 = row.isWow64;
            state.environment = row.variables;
        });
        StackWalker walker = MakeWalker();
        EXPECT_EQ(walker.SearchPath(), u"");
        walker.Walk();
        EXPECT_EQ(walker.SearchPath(), row.expected);
    }
    machine.Fail(MachineStep::kAskWow64, ERROR_GEN_FAILURE);
    machine.Fail(MachineStep::kNameModule, ERROR_GEN_FAILURE);
    machine.Change([](platform::MachineState& state) {
        state.isWow64 = true;
        state.environment = {{u"SYSTEMROOT", u"W"}};
    });
    StackWalker walker = MakeWalker();
    walker.Walk();
    EXPECT_EQ(walker.SearchPath(), u".;W;W\\System32;");
}

}  // namespace
}  // namespace quorvel::test
