// The manual says what the tool does.
#include <algorithm>

#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Manual : public ToolRun {
  protected:
    static std::string Page(const char* name) {
        return Content(std::filesystem::path(QUORVEL_DOCS) / name);
    }

    // What stands between the first `begin` behind `from` and the next `end`.
    static std::string Between(const std::string& text, const std::string& from,
                               const std::string& begin, const std::string& end) {
        const std::size_t start = text.find(begin, text.find(from)) + begin.size();
        return text.substr(start, text.find(end, start) - start);
    }
};

// scripts/update_docs writes the page anew.
TEST_F(Manual, KnowsTheKindsOfBlocks) {
    EXPECT_TRUE(Tool("manual kinds").out == Page("block-kinds.md")) << "run scripts/update_docs";
}

TEST_F(Manual, ExampleIsWhatEncodeMakes) {
    const std::string page = Page("profile-format.md");
    Write("example.json", Between(page, "## JSON", "```json\n", "```"));
    ASSERT_EQ(Tool("encode example.json -o example.txt").status, 0);
    std::string text = Between(page, "## Worked example", "above:\n\n", "\n\n(in one line");
    std::erase_if(text, [](char character) { return character == ' ' || character == '\n'; });
    std::string made = Read("example.txt");
    std::erase(made, '\n');
    EXPECT_EQ(made, text);

    std::string record;
    std::istringstream rows(Between(page, "The record:", "|---|---|---|\n", "\n\n"));
    for (std::string row; std::getline(rows, row);) {
        EXPECT_EQ(std::stoul(row.substr(2)), record.size() / 2) << row;
        std::string bytes = Between(row, "|", "`", "`");
        std::erase(bytes, ' ');
        record += bytes;
    }
    const Result bytes =
        Shell("base64 -d example.txt | tail -c +23 | head -c -16 | od -An -v -tx1");
    std::string all = bytes.out;
    std::erase_if(all, [](char character) { return character == ' ' || character == '\n'; });
    std::ranges::transform(all, all.begin(),
                           [](char c) { return static_cast<char>(std::toupper(c)); });
    EXPECT_EQ(record, all);
}

TEST_F(Manual, EverySubcommandHasAnExample) {
    const std::string completion = Tool("manual bash").out;
    std::istringstream names(Between(completion, "COMP_CWORD == 1", "--version ", "'"));
    int count = 0;
    for (std::string name; names >> name; ++count) {
        const std::string help = Tool(name + " --help").out;
        ExpectTold(help, "Example: ");
    }
    EXPECT_EQ(count, 13);
}

}  // namespace
}  // namespace quorvel::tool
