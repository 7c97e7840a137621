#include "diagnostics/debug_log.h"

#include <cctype>
#include <functional>

#include "diagnostics/log_settings.h"
#include "tests/support/temporary_directory.h"

namespace quorvel {
namespace {

using namespace test;

constexpr std::size_t kMiB = 1 << 20;

// What `run` shows in the debugger's window.
std::string Shown(const std::function<void()>& run) {
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

// Leaves the settings as they are shipped.
class DebugLog : public testing::Test {
  protected:
    void TearDown() override {
        logSettings.verbosity = 5;
        logSettings.sinkMode = LogSinkMode::kDebugger;
        logSettings.filePath = u"";
        logSettings.wasUsed = false;
    }
};

TEST_F(DebugLog, TheVerbosityChoosesTheLevels) {
    for (const int32_t verbosity : {5, 0, 3, -1, 9}) {
        if (verbosity != 5) logSettings.verbosity = verbosity;  // 5 is shipped
        for (int level = -1; level <= 6; ++level) {
            logSettings.wasUsed = false;
            const std::string text = Shown([&] { Log(level, "", 1, nullptr, u"text"); });
            EXPECT_EQ(text.ends_with(": text"), level >= 0 && level <= std::min(verbosity, 5));
            EXPECT_EQ(logSettings.wasUsed, !text.empty()) << level;
            const std::string line = Shown([&] { WriteLogLine(level, u"line"); });
            EXPECT_EQ(line, level <= std::min(verbosity, 5) ? "line" : "")
                << level << " of " << verbosity;
        }
    }
}

TEST_F(DebugLog, ALineTellsTimePlaceAndObjectAndIsCutToTheBuffer) {
    const auto object = reinterpret_cast<const void*>(std::uintptr_t{0xAB12});
    const std::string line = Shown(
        [&] { Log(2, "a.cpp", 81, object, u"%d %s %S %.2f \u00E4", -7, u"wide", "narrow", 0.5); });
    const std::string head = "9999-99-99 99:99:99.999 ";
    std::string digits = line.substr(0, head.size());
    for (char& digit : digits)
        if (std::isdigit(static_cast<unsigned char>(digit))) digit = '9';
    EXPECT_EQ(digits, head);
    EXPECT_EQ(line.substr(head.size()),
              "000000000000AB12 (a.cpp:81): -7 wide narrow 0.50 \xC3\xA4");

    const std::u16string longText(3000, u'x');
    const std::string cut = Shown([&] { Log(2, "a.cpp", 81, object, u"%s", longText.c_str()); });
    EXPECT_EQ(cut.size(), 1023u);
    EXPECT_TRUE(cut.ends_with("(a.cpp:81): " + std::string(1023 - cut.find('x'), 'x')));
}

TEST_F(DebugLog, TheFileGrowsByLinesAndStartsAfreshWhenItIsTooLong) {
    const TemporaryDirectory directory;
    const auto path = directory / "log.txt";
    const auto widePath = WidePath(path);
    logSettings.sinkMode = LogSinkMode::kFile;
    WriteLogLine(0, u"lost without a path");
    logSettings.filePath = widePath.c_str();
    for (const std::size_t size : {std::size_t{0}, 5 * kMiB, 5 * kMiB + 1, 6 * kMiB}) {
        const std::string before(size, 'o');
        FillFile(path, before);
        EXPECT_EQ(Shown([] { WriteLogLine(0, u"\u00E4"); }), "");
        EXPECT_EQ(FileText(path) == (size > 5 * kMiB ? "" : before) + "\xC3\xA4\n", true) << size;
    }
    WriteLogLine<5>(u"two");
    EXPECT_EQ(FileText(path), "\xC3\xA4\ntwo\n");
}

}  // namespace
}  // namespace quorvel
