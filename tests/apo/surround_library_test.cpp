// The external surround library is loaded where no lock is held.
#include <thread>

#include "tests/apo/apo_test.h"
#include "tests/support/byte_builder.h"
#include "tests/support/played_surround_library.h"

namespace quorvel::test {
namespace {

// A stream whose profile has an external surround block alone.
class SurroundLibrary : public ApoTest {
  protected:
    void SetUp() override {
        ApoTest::SetUp();
        profile = GainProfile(row, 0.0f);
        QuorvelAudioBlock& block = profile.GetChain(row.chain, false)->blocks.Item(0);
        block.typeId = kExternalSurroundBlockTypeId;
        block.ClearData();
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
    }

    PlayedSurroundLibrary played{std::u16string(kOwnFolder) + kSurroundFile};
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile;
};

TEST_F(SurroundLibrary, IsLoadedByInitializeAndUsedByTheGraph) {
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

// What a notice of another assignment does to a stream object's graph: the engines that its
// surround block was given show how often it was built.
TEST_F(SurroundLibrary, MakesEnginesAnewOnlyForAnotherProfileOrCookie) {
    const auto object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    const auto builds = [&] {
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
        return PlayedSurroundLibrary::engines;
    };
    EXPECT_EQ(builds(), 1);
    ByteBuilder pathsChanged;  // of no profile by name: who is served asks again
    pathsChanged.Number(28).Number(24).Number(0, 8).bytes.resize(16 + 24);
    Core().Misbehave({.code = simulation::kEventRead, .answer = pathsChanged.bytes});
    EXPECT_EQ(builds(), 1) << "the same profile, the same cookie";
    ASSERT_EQ(application.SetProfilePaths(&profile), 0u);
    EXPECT_EQ(builds(), 2) << "the same profile, another cookie";
    stream.Unlock();
}

}  // namespace
}  // namespace quorvel::test
