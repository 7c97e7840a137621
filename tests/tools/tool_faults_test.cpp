// Bad input and bad files: the message, the exit status, and no trace left behind.
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

constexpr const char* kGain = R"({"name": "gain", "type": "GainBlock"})";

class ToolFaults : public ToolRun {
  protected:
    ToolFaults() {
        WriteSound("in.wav", Noise(4800, 2));
        WriteSound("nine.wav", Noise(480, 9));
        std::string none = Read("in.wav");
        none[22] = '\0';  // the channel count, low byte
        Write("none.wav", none);
        Write("empty", "");
        Write("text.wav", "no audio at all");
        WriteChain("ok.json", kGain);
        Write("cut.json", Read("ok.json").substr(0, 30));
        WriteChain("unknown.json", R"({"name": "x", "type": "NoSuchBlock"})");
        WriteChain("unknown_id.json", R"({"name": "x", "type":
                   "{796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}", "data": "00"})");
        WriteChain("short.json", R"({"name": "x", "type": "GainBlock", "data": "0000"})");
        const std::string three = R"({"name": "a", "type": "GainBlock"},
            {"name": "b", "type": "GainBlock"}, {"name": "c", "type": "GainBlock"})";
        WriteChain("cycle.json", three, R"(["a", "b"], ["b", "c"], ["c", "b"])");
        WriteChain("self.json", kGain, R"(["gain", "gain"])");
        WriteChain("loose.json", three, R"(["a", "b"])");
        WriteChain("nowhere.json", kGain, R"(["gain", "{796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}"])");
        Write("damaged.txt", "t/rnNl2sIkmFxbKOHlCYggIA");
        std::filesystem::create_directory(directory / "folder");
    }
};

constexpr struct {
    const char* words;
    int status;
    const char* message;
} kFaults[] = {
    {"process ok.json text.wav out", 1, "text.wav: not readable as audio"},
    {"process ok.json empty out", 1, "empty: not readable as audio"},
    {"process ok.json none.wav out", 1, "none.wav: not readable as audio"},
    {"process ok.json nine.wav out", 1, "nine.wav: has 9 channels, must have 1 to 8"},
    {"process empty in.wav out", 1, "empty: not a profile: the file is empty"},
    {"process text.wav in.wav out", 1, "text.wav: not a profile: neither JSON nor"},
    {"process cut.json in.wav out", 1, "cut.json: line 1, column 31: "},
    {"process unknown.json in.wav out", 1,
     "unknown.json: $.chains[0].blocks[0].type: unknown block type \"NoSuchBlock\""},
    {"process unknown_id.json in.wav out", 1,
     "chain 1, block \"x\": unknown kind {796C5F35-FBCB-4DC8-91CC-93829ECD4FE3}"},
    {"process short.json in.wav out", 1, "chain 1, block \"x\": refuses its record of 2 bytes"},
    {"process cycle.json in.wav out", 1,
     "chain 1, the links form a cycle: \"b\" -> \"c\" -> \"b\""},
    {"process self.json in.wav out", 1, "the links form a cycle: \"gain\" -> \"gain\""},
    {"process loose.json in.wav out", 1, "chain 1, block \"c\": is not linked to any other block"},
    {"process nowhere.json in.wav out", 1, "chain 1, link 1: no block has the id {796C5F35-"},
    {"process ok.json in.wav out --chain 2", 1, "ok.json: has no chain 2: it has 1"},
    {"process ok.json in.wav out --channels 0", 2, "--channels"},
    {"process ok.json in.wav out --channels 9", 2, "--channels"},
    {"process ok.json in.wav out --frames 0", 2, "--frames"},
    {"process ok.json in.wav out --chain -1", 2, "--chain"},
    {"process ok.json in.wav", 2, "OUT is required"},
    {"", 2, "subcommand is required"},
    {"process ok.json missing.wav out", 3, "missing.wav: No such file or directory"},
    {"process ok.json folder out", 3, "folder: Is a directory"},
    {"process missing.json in.wav out", 3, "missing.json: No such file or directory"},
    {"process folder in.wav out", 3, "folder: Is a directory"},
    {"process ok.json in.wav nowhere/out", 3, "nowhere/out: No such file or directory"},
    {"process ok.json in.wav folder", 3, "folder: Is a directory"},
    {"process ok.json in.wav /dev/full", 3, "/dev/full: No space left on device"},
    {"process ok.json in.wav /proc/out", 3, "/proc/out: "},
    {"encode ok.json -o /dev/full", 3, "/dev/full: No space left on device"},
    {"encode ok.json > /dev/full", 3, "standard output: No space left on device"},
    {"encode unknown.json -o out", 1, "unknown.json: $.chains[0].blocks[0].type: "},
    {"decode damaged.txt -o out", 1, "damaged.txt: not a profile"},
    {"--help", 0, "Usage: quorvel"},
    {"process --help", 0, "Usage: quorvel process"},
};

TEST_F(ToolFaults, AreToldWithTheExitStatus) {
    const std::set<std::string> before = Names();
    for (const auto& row : kFaults) {
        const Result result = Tool(row.words);
        const std::string& told = row.status == 0 ? result.out : result.error;
        EXPECT_EQ(result.status, row.status) << row.words;
        ExpectTold(told, row.message);
        EXPECT_EQ(Names(), before) << row.words;
    }
}

// A file size limit (in units of 512 bytes) stands for the full disk; the largest one stops only
// the end of the file.
TEST_F(ToolFaults, AFullDiskLeavesTheOldFile) {
    WriteSound("in.wav", Noise(20000, 2));
    Write("out", "the old file");
    const std::set<std::string> before = Names();
    for (const char* blocks : {"1", "150", "312"}) {
        const Result result = Shell(std::string("ulimit -f ") + blocks +
                                    "; \"$QUORVEL\" process ok.json in.wav out --force");
        EXPECT_EQ(result.status, 3) << blocks << result.error;
        ExpectTold(result.error, "out: File too large");
        EXPECT_EQ(Names(), before) << blocks;
        EXPECT_EQ(Read("out"), "the old file");
    }
}

// The tool waits for the rest of its input when the signal comes.
TEST_F(ToolFaults, ASignalLeavesNoTrace) {
    WriteSound("long.wav", Noise(200000, 2));
    const Result result = Shell(
        "mkfifo pipe; (head -c 1000000 long.wav; sleep 60) > pipe & feeder=$!;\n"
        "\"$QUORVEL\" process ok.json pipe out --tap gain=tapped >/dev/null & tool=$!;\n"
        "for i in $(seq 600); do [ $(ls -A | grep -c '^.quorvel-') = 2 ] && break; sleep 0.1;\n"
        "done; ls -A | grep -c '^.quorvel-'; kill -TERM $tool; wait $tool; echo $?; kill $feeder");
    EXPECT_TRUE(result.out.ends_with("2\n143\n")) << result.out << result.error;
    for (const std::string& name : Names()) {
        EXPECT_FALSE(name.starts_with(".quorvel-")) << name;
        EXPECT_TRUE(name != "out" && name != "tapped");
    }
}

}  // namespace
}  // namespace quorvel::tool
