// What the tool writes over, and what it keeps; and sounds that are not all there.
#include <sys/stat.h>

#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

constexpr const char* kGain = R"({"name": "gain", "type": "GainBlock"})";

class Outputs : public ToolRun {
  protected:
    Outputs() {
        WriteChain("ok.json", kGain);
        WriteSound("in.wav", Noise(4800, 2));
        Write("edits.json", "[]");
        Write("old", "somebody's work");
        EXPECT_EQ(Tool("encode ok.json -o ok.txt").status, 0);
        std::filesystem::create_hard_link(directory / "in.wav", directory / "hard.wav");
        std::filesystem::create_hard_link(directory / "old", directory / "hard");
        std::filesystem::create_symlink("in.wav", directory / "soft.wav");
        std::filesystem::create_symlink("ok.json", directory / "soft.svg");
        std::filesystem::create_symlink(".", directory / "here");
    }

    std::string Everything() const {
        std::string all;
        for (const std::string& name : Names())
            if (name != "here") all += name + "\n" + Read(name);
        return all;
    }
};

// In every way that a name can lead there, and whatever is allowed otherwise.
TEST_F(Outputs, NeverAreWhatTheRunReads) {
    const std::string before = Everything();
    for (const char* words : {
             "process ok.json in.wav in.wav",
             "process ok.json in.wav here/in.wav",
             "process ok.json in.wav soft.wav",
             "process ok.json in.wav hard.wav",
             "process ok.json soft.wav in.wav",
             "process ok.json /dev/stdin in.wav < in.wav",
             "process ok.json in.wav ok.json",
             "process ok.json in.wav new.wav --tap gain=in.wav",
             "process ok.json in.wav new.wav --tap gain=ok.json",
             "host ok.json in.wav in.wav",
             "host ok.json in.wav ok.json",
             "host ok.json in.wav edits.json --edits edits.json",
             "host ok.json in.wav ok.txt --stage both --endpoint-profile ok.txt",
             "encode ok.json -o ok.json",
             "decode ok.txt -o ok.txt",
             "plot ok.json -o soft.svg",
             "graph ok.json -o soft.svg",
         }) {
        for (const char* force : {"", " --force"}) {
            const Result result =
                Tool(std::string(words).insert(std::string(words).find(' '), force));
            EXPECT_EQ(result.status, 2) << words << force << result.error;
            ExpectTold(result.error, "is what this run reads");
            EXPECT_EQ(Everything(), before) << words;
        }
    }
}

TEST_F(Outputs, ThatAreOneFileAreRefused) {
    Write("empty", "");
    std::filesystem::create_hard_link(directory / "empty", directory / "other");
    std::filesystem::create_symlink("empty", directory / "link");
    const std::string before = Everything();
    for (const char* files : {"new --tap gain=new", "new --tap gain=here/new",
                              "empty --tap gain=link", "empty --tap gain=other"}) {
        const Result result = Tool(std::string("process ok.json in.wav ") + files);
        EXPECT_EQ(result.status, 2) << files;
        ExpectTold(result.error, "is written twice in this run");
        EXPECT_EQ(Everything(), before) << files;
    }
}

TEST_F(Outputs, ReplaceTheFilesOfOthersOnlyWhenForced) {
    const std::string before = Everything();
    ASSERT_EQ(chmod((directory / "old").c_str(), 0640), 0);
    for (const char* words :
         {"process ok.json in.wav old", "process ok.json in.wav new --tap gain=hard",
          "host ok.json in.wav old", "encode ok.json -o old", "decode ok.txt -o old"}) {
        const Result result = Tool(words);
        EXPECT_EQ(result.status, 2) << words;
        ExpectTold(result.error, "--force replaces it");
        EXPECT_EQ(Everything(), before) << words;
    }
    EXPECT_EQ(Tool("process ok.json in.wav old --force").status, 0);
    EXPECT_EQ(Read("hard"), "somebody's work") << "the other link keeps it";
    EXPECT_EQ(Tool("process ok.json in.wav new --tap gain=hard --force").status, 0);
    EXPECT_EQ(Read("hard"), Read("new"));
    struct stat state {};
    ASSERT_EQ(stat((directory / "old").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777u, 0640u);
    std::filesystem::create_symlink("old", directory / "to_old");
    EXPECT_EQ(Tool("process ok.json in.wav to_old").status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "to_old"));
}

// A run may be repeated: what the tool made it replaces, in each of its forms.
TEST_F(Outputs, ReplaceWhatTheToolMade) {
    WriteSound("wide.wav", Noise(480, 6));
    for (const char* words :
         {"process ok.json in.wav made.wav --tap gain=tapped.wav", "host ok.json in.wav made.wav",
          "process ok.json wide.wav six.wav --channels 6", "encode ok.json -o made.txt",
          "graph ok.json -o made.dot", "graph ok.json -o made.svg", "graph ok.json -o made.png",
          "plot ok.json -o made.gnuplot", "plot ok.json -o plot.svg", "plot ok.json -o plot.png"}) {
        for (int run = 0; run < 2; ++run) {
            const Result result = Tool(words);
            EXPECT_EQ(result.status, 0) << words << run << result.error;
        }
    }
    EXPECT_EQ(Tool("decode ok.txt -o decoded.json").status, 0);
    EXPECT_EQ(Tool("decode ok.txt -o decoded.json").status, 2) << "it may have been edited";
    EXPECT_EQ(Tool("decode ok.txt -o decoded.json --force").status, 0);
    EXPECT_EQ(Tool("process ok.json made.wav made.txt").status, 0) << "one form over another";
    // What looks alike but is not the tool's.
    Write("cut.txt", Read("ok.txt").substr(0, 60));
    Write("foreign.svg", "<svg></svg>\n<!-- Made by quorvelle -->\n");
    std::string png = Shell("printf 'digraph{a}' | dot -Tpng").out;
    Write("foreign.png", png);
    for (const char* words : {"encode ok.json -o cut.txt", "graph ok.json -o foreign.svg",
                              "graph ok.json -o foreign.png", "process ok.json made.wav wide.wav"})
        EXPECT_EQ(Tool(words).status, 2) << words;
}

TEST_F(Outputs, MayBeNoFilesAtAll) {
    EXPECT_EQ(Tool("process ok.json in.wav /dev/null").status, 0);
    EXPECT_EQ(Tool("process ok.json in.wav /dev/null --tap gain=/dev/null").status, 0);
    ASSERT_EQ(Tool("decode ok.txt -o whole").status, 0);
    EXPECT_EQ(Tool("decode ok.txt -o /dev/stdout | cmp - whole").status, 0);
    EXPECT_EQ(Tool("decode ok.txt -o /dev/stdout > to_file; cmp to_file whole").status, 0);
    const Result piped = Shell(
        "mkfifo pipe; cat pipe > read & \"$QUORVEL\" decode ok.txt -o pipe; wait; cmp read whole");
    EXPECT_EQ(piped.status, 0) << piped.error;
}

class Truncated : public ToolRun {
  protected:
    Truncated() {
        WriteChain("ok.json", kGain);
        WriteSound("in.wav", Noise(4800, 2));
    }

    // Takes the first bytes of the sound for all there is.
    void ExpectCut(const std::string& name, std::size_t size) {
        Write("cut", Read(name).substr(0, size));
        const std::string tool = "\"$QUORVEL\" ";
        for (const std::string& words :
             {tool + "process ok.json cut out.wav", tool + "host ok.json cut out.wav",
              tool + "nulltest cut cut", tool + "ears cut cut",
              "cat cut | " + tool + "process ok.json /dev/stdin out.wav"}) {
            const Result refused = Shell(words);
            EXPECT_EQ(refused.status, 1) << name << words << refused.error;
            ExpectTold(refused.error, "truncated: ");
            EXPECT_FALSE(Names().contains("out.wav"));
            const Result taken = Shell(words + " --allow-truncated");
            EXPECT_EQ(taken.status, 0) << name << words << taken.error;
            ExpectTold(taken.error, "truncated: ");
            std::filesystem::remove(directory / "out.wav");
        }
    }
};

TEST_F(Truncated, SoundsAreRefusedUnlessAllowed) {
    ExpectCut("in.wav", 20000);
    const std::size_t whole = Read("in.wav").size();
    ExpectCut("in.wav", whole - 2 * 8);
    Sound aiff = Noise(4800, 2);
    aiff.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
    WriteSound("in.aiff", aiff);
    ExpectCut("in.aiff", 10000);
}

// A recorder that writes into a pipe cannot go back to tell the size.
TEST_F(Truncated, SoundsOfUnknownLengthAreWhole) {
    std::string bytes = Read("in.wav");
    const std::size_t size = bytes.find("data") + 4;
    for (const char* unknown : {"\xFF\xFF\xFF\xFF", "\xDB\xFF\xFF\xFF", "\xFF\xFF\xFF\x7F"}) {
        Write("stream.wav", bytes.replace(size, 4, unknown));
        EXPECT_EQ(Tool("process ok.json stream.wav out.wav").status, 0);
        EXPECT_EQ(ReadSound("out.wav").samples.size(), 9600u);
        EXPECT_EQ(Shell("cat stream.wav | \"$QUORVEL\" process ok.json /dev/stdin out.wav").status,
                  0);
        EXPECT_EQ(ReadSound("out.wav").samples.size(), 9600u);
    }
}

}  // namespace
}  // namespace quorvel::tool
