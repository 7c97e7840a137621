// Where the surround library is looked for, and how long it stays.
#include "dsp/surround/external_library.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/played_surround_library.h"

namespace quorvel {
namespace {

using namespace test;

const std::u16string kOwn = std::u16string(kOwnFolder) + kSurroundFile;
const std::u16string kSystem = std::u16string(kSystemFolder) + kSurroundFile;

TEST(ExternalLibrary, IsLookedForBesideTheModuleAndThenInTheSystemFolder) {
    const struct {
        std::u16string place;
        std::vector<std::u16string> asked;
        int engines;
    } rows[] = {{kOwn, {kOwn}, 1},
                {kSystem, {kOwn, kSystem}, 1},
                {kSurroundFile, {kOwn, kSystem}, 0},
                {u"", {kOwn, kSystem}, 0}};
    for (const auto& row : rows) {
        PlayedSurroundLibrary played(row.place);
        const ExternalLibrary library;
        EXPECT_EQ(played.asked, row.asked);
        EXPECT_TRUE(CreateExternalEngine());
        EXPECT_EQ(PlayedSurroundLibrary::engines, row.engines);
    }
}

TEST(ExternalLibrary, StaysAsLongAsOneNeedsItAndEnginesLoadNothing) {
    PlayedSurroundLibrary played(kOwn);
    EXPECT_TRUE(CreateExternalEngine()) << "the substitute";
    EXPECT_TRUE(played.asked.empty());
    std::optional<ExternalLibrary> first{std::in_place}, second{std::in_place};
    EXPECT_EQ(played.asked.size(), 1u) << "loaded once";
    first.reset();
    EXPECT_EQ(played.library.references, 1);
    EXPECT_TRUE(CreateExternalEngine());
    EXPECT_EQ(PlayedSurroundLibrary::engines, 1);
    second.reset();
    EXPECT_EQ(played.library.references, 0);
    EXPECT_TRUE(CreateExternalEngine());
    EXPECT_EQ(PlayedSurroundLibrary::engines, 1) << "the library is gone";
    EXPECT_EQ(played.asked.size(), 1u);
}

TEST(ExternalLibrary, WithoutItsFunctionOrEngineTheSubstituteRenders) {
    PlayedSurroundLibrary played(kOwn);
    PlayedSurroundLibrary::createResult = 1;
    {
        const ExternalLibrary library;
        EXPECT_TRUE(CreateExternalEngine());
    }
    PlayedSurroundLibrary::createResult = 0;
    played.library.functions.clear();
    const ExternalLibrary library;
    EXPECT_TRUE(CreateExternalEngine());
    EXPECT_EQ(PlayedSurroundLibrary::engines, 0);
}

}  // namespace
}  // namespace quorvel
