// What a notice of another assignment does to a stream object's graph.
#include <thread>

#include "tests/apo/apo_test.h"
#include "tests/support/byte_builder.h"
#include "tests/support/played_surround_library.h"

namespace quorvel::test {
namespace {

using ProfileAssignment = ApoTest;

// The engines that the graph's surround block was given tell how often the graph was built.
TEST_F(ProfileAssignment, BuildsTheGraphAnewOnlyForAnotherProfileOrCookie) {
    PlayedSurroundLibrary played(std::u16string(kOwnFolder) + kSurroundFile);
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, 0.0f);
    profile.GetChain(row.chain, false)->blocks.Item(0).typeId = kExternalSurroundBlockTypeId;
    profile.GetChain(row.chain, false)->blocks.Item(0).ClearData();
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
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
