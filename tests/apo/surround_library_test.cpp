// The external surround library is loaded where no lock is held.
#include "tests/apo/apo_test.h"
#include "tests/support/played_surround_library.h"

namespace quorvel::test {
namespace {

using SurroundLibrary = ApoTest;

TEST_F(SurroundLibrary, IsLoadedByInitializeAndUsedByTheGraph) {
    PlayedSurroundLibrary played(std::u16string(kOwnFolder) + kSurroundFile);
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, 0.0f);
    profile.GetChain(row.chain, false)->blocks.Item(0).typeId = kExternalSurroundBlockTypeId;
    profile.GetChain(row.chain, false)->blocks.Item(0).ClearData();
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
    {
        const auto object = Make(*row.id);
        EXPECT_TRUE(played.asked.empty());
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EXPECT_EQ(played.library.references, 1);
        EngineStream stream(*object.Get(), 2, 2);
        ASSERT_EQ(stream.Lock(), S_OK);
        EXPECT_EQ(PlayedSurroundLibrary::engines, 1);
        EXPECT_EQ(played.asked.size(), 1u) << "the lock loads nothing";
        stream.Unlock();
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EXPECT_EQ(played.library.references, 1) << "once an object";
    }
    EXPECT_EQ(played.library.references, 0);
}

}  // namespace
}  // namespace quorvel::test
