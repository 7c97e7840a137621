// `quorvel host`: the objects give what the chain gives, and follow a configuration application.
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Host : public ToolRun {
  protected:
    Host() { WriteSound("in.wav", Noise(24000, 2, 0.25f)); }

    Result Run(const std::string& words) {
        const Result result = Tool("host " + words);
        EXPECT_EQ(result.status, 0) << result.error;
        return result;
    }
};

TEST_F(Host, GivesTheSamplesOfProcessWithNoise) {
    const struct {
        const char* profile;
        const char* host;
        const char* process;
    } rows[] = {
        {"games.json", "", ""},
        {"games.json", "--stage endpoint --seed 9 --frames 128", "--seed 9"},
        {"voice_chain.json", "--direction input --channels 1", "--chain 2 --channels 1"},
        {"branching.json", "--channels 8", "--channels 8"},
    };
    for (const auto& row : rows) {
        const std::string profile = std::string("\"$PROFILES\"/") + row.profile;
        Run(profile + " in.wav host.wav " + row.host);
        Tool("process " + profile + " in.wav process.wav --noise " + row.process);
        const std::string expected = Read("process.wav");
        EXPECT_FALSE(expected.empty());
        EXPECT_TRUE(Read("host.wav") == expected) << row.profile << ' ' << row.host;
    }
}

TEST_F(Host, FollowsEditsAtTheirTimes) {
    WriteChain("plain.json", R"({"name": "gain", "type": "GainBlock"})");
    WriteChain("loud.json",
               R"({"name": "gain", "type": "GainBlock", "parameters": {"gainDb": 6}})");
    Write("edits.json", R"([
        {"at": 0.3, "remove": "trim"},
        {"at": 0.1, "set": "gain", "parameters": {"gainDb": -6}},
        {"at": 0.2, "add": {"name": "trim", "type": "GainBlock", "parameters": {"gainDb": -6}},
         "links": [["gain", "trim"]]},
        {"at": 0.4, "profile": "loud.json"}])");
    Sound steady{1, std::vector<float>(24000, 0.25f)};
    WriteSound("steady.wav", steady);
    const Result result = Run("plain.json steady.wav out.wav --edits edits.json --channels 1");
    ExpectTold(result.out, "0.200 s  edit: add trim");
    const Sound out = ReadSound("out.wav");
    const float gains[] = {1.0f, 0.501187f, 0.251189f, 0.501187f, 1.99526f};
    for (std::size_t part = 0; part < 5; ++part) {
        for (const std::size_t i : {part * 4800, part * 4800 + 4799})
            EXPECT_NEAR(out.samples[i], 0.25f * gains[part], 5e-4f) << "sample " << i;
    }
    const std::string first = Read("out.wav");
    Run("plain.json steady.wav out.wav --edits edits.json --channels 1");
    EXPECT_TRUE(Read("out.wav") == first) << "a run can be repeated bit for bit";
}

// The same channels after a pause are told again. When a change is told depends on the reporter.
TEST_F(Host, TellsWhatTheDriverWasTold) {
    Sound sound{2, std::vector<float>(2 * 14400)};
    std::fill_n(sound.samples.begin(), 2 * 4800, 0.25f);
    std::fill_n(sound.samples.begin() + 2 * 9600, 2 * 4800, 0.25f);
    WriteSound("pause.wav", sound);
    const Result result = Run("\"$PROFILES\"/games.json pause.wav out.wav --stage both");
    ExpectInOrder(result.out,
                  {"Output Stream Object", "Output Endpoint Object", "2 channels (FL FR)",
                   "active channels: FL FR", "active channels: none", "active channels: FL FR",
                   "stream stopped"});
    const Sound out = ReadSound("out.wav");
    EXPECT_EQ(out.samples[2 * 7200], 0.0f);
    EXPECT_NE(out.samples[2 * 12000], 0.0f);
}

// At 0.1 s a cycle; the edits at 0.2 s end it, and the loose block between them is never heard.
TEST_F(Host, TellsWhatComesOfEdits) {
    WriteChain("plain.json",
               R"({"name": "a", "type": "GainBlock", "parameters": {"gainDb": -6}},
                  {"name": "b", "type": "GainBlock"})",
               R"(["a", "b"])");
    WriteChain("headless.json", R"({"name": "a", "type": "GainBlock", "data": "00"})",
               R"(["a", "{796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}"])");
    Write("edits.json", R"([
        {"at": 0.1, "link": ["b", "a"]},
        {"at": 0.2, "unlink": ["b", "a"]},
        {"at": 0.2, "add": {"name": "c", "type": "GainBlock"}},
        {"at": 0.2, "remove": "c"},
        {"at": 0.3, "set": "a", "data": "0000"},
        {"at": 0.35, "set": "a", "parameters": {}},
        {"at": 0.36, "unlink": ["a", "b"]}, {"at": 0.36, "link": ["a", "b"]},
        {"at": 0.4, "profile": "headless.json"},
        {"at": 0.495, "remove": "a"}, {"at": 7, "add": {"name": "z", "type": "GainBlock"}}])");
    WriteSound("steady.wav", {1, std::vector<float>(24000, 0.25f)});
    const Result result = Run("plain.json steady.wav out.wav --edits edits.json --channels 1");
    ExpectInOrder(
        result.out,
        {"0.100 s  no valid graph, the sound passes unprocessed: the links form a cycle: ",
         "0.200 s  edit: remove c\n    0.200 s  all of the chain runs again\n",
         "edit: set a; block \"a\" refuses its record of 2 bytes and keeps its values\n",
         "edit: profile headless.json; block \"a\" refuses its record of 1 bytes and has its",
         "0.400 s  not in the graph: link 1: no block has the id {796C5F35-"});
    EXPECT_EQ(result.out.find("loose"), std::string::npos);
    EXPECT_EQ(result.error,
              "quorvel: the edit at 0.495 s was not made, no buffer begins there or later: "
              "remove a\n"
              "quorvel: the edit at 7.000 s was not made, no buffer begins there or later: "
              "add z\n");
    const Sound out = ReadSound("out.wav");
    const float gains[] = {0.501187f, 1.0f, 0.501187f, 0.501187f, 1.0f};
    for (std::size_t part = 0; part < 5; ++part)
        EXPECT_NEAR(out.samples[part * 4800 + 4000], 0.25f * gains[part], 5e-4f) << part;
}

TEST_F(Host, TellsWhoseProfileApplies) {
    Write("mine.json", R"({"paths": ["C:\\mine.exe"], "chains": [{"number": 1, "blocks": [
                          {"name": "gain", "type": "GainBlock"}]}]})");
    Write("other.json", R"({"paths": ["C:\\other.exe"], "chains": [{"number": 1, "blocks": [
                           {"name": "gain", "type": "GainBlock"}]}]})");
    const struct {
        const char* words;
        const char* told;
    } rows[] = {
        {"", "C:\\mine.exe has the stream's profile"},
        {"--client 'c:\\MINE.exe'", "c:\\MINE.exe has the stream's profile"},
        {"--client x.exe", "x.exe: no profile has this path, its stream passes unprocessed"},
        {"--stage both", "the endpoint has no profile, the mix passes unprocessed"},
        {"--stage both --endpoint-profile other.json --client 'C:\\other.exe'",
         "C:\\other.exe has the endpoint's profile\n    0.000 s  the endpoint has its profile"},
        {"--stage endpoint", "the endpoint has its profile"},
    };
    for (const auto& row : rows) {
        const Result result = Run(std::string("mine.json in.wav out.wav ") + row.words);
        ExpectTold(result.out, row.told);
    }
    for (const char* stage : {"", " --stage endpoint"})
        EXPECT_EQ(
            Tool(std::string("host mine.json in.wav out.wav --endpoint-profile other.json") + stage)
                .status,
            2);
}

TEST_F(Host, RefusesEditsThatCannotBe) {
    WriteChain("plain.json", R"({"name": "gain", "type": "GainBlock"})");
    const struct {
        const char* edits;
        const char* message;
    } rows[] = {
        {R"({})", "edits.json: $: must be an array"},
        {R"([{"at": 1}])", "$[0]: must set, add, remove"},
        {R"([{"at": -1, "remove": "gain"}])", "$[0].at: must be a number"},
        {R"([{"at": 1, "remove": "x"}])", "$[0].remove: no block of the chain is called \"x\""},
        {R"([{"at": 2, "remove": "gain"}, {"at": 3, "set": "gain", "parameters": {}}])",
         "$[1].set: no block"},
        {R"([{"at": 1, "set": "gain", "parameters": {"x": 1}}])", "$[0].parameters.x: unknown"},
        {R"([{"at": 1, "set": "gain", "parameters": {"gainDb": null}}])",
         "$[0].parameters.gainDb: must be a number"},
        {R"([{"at": 1, "set": "gain", "parameters": {}, "data": "00"}])",
         "$[0].data: stands beside parameters"},
        {R"([{"at": 1, "unlink": ["gain", "gain"]}])", "$[0].unlink: there is no such link"},
        {R"([{"at": 1, "link": ["gain"]}])", "$[0].link: must be a pair"},
        {R"([{"at": 1, "add": {"name": "gain", "type": "GainBlock"}}])", "$[0].add: another"},
        {R"([{"at": 1, "add": {"name": "n", "type": "None"}}])", "unknown block type \"None\""},
    };
    for (const auto& row : rows) {
        Write("edits.json", row.edits);
        const Result result = Tool("host plain.json in.wav out.wav --edits edits.json");
        EXPECT_EQ(result.status, 1) << row.edits;
        ExpectTold(result.error, row.message);
    }
    EXPECT_FALSE(Names().contains("out.wav"));
}

}  // namespace
}  // namespace quorvel::tool
