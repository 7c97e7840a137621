// What each event of the driver does to a processing object while it runs.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <thread>

#include "tests/apo/apo_test.h"

namespace quorvel::test {
namespace {

class DriverEvents : public ApoTest {
  protected:
    // Waits until the object's gain is that many decibels.
    static void ExpectGain(EngineStream& stream, double decibels) {
        double heard = 0.0;
        for (int i = 0; i < 5000; ++i) {
            heard = 20.0 * std::log10(stream.Gain());
            if (std::abs(heard - decibels) < 0.05) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ADD_FAILURE() << "the gain is " << heard << " dB instead of " << decibels;
    }
};

TEST_F(DriverEvents, ChangeTheRunningObject) {
    for (const ClassRow& row : kClassRows) {
        SCOPED_TRACE(&row - kClassRows);
        QuorvelAudioProfile profile = GainProfile(row, -6.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        const auto object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EngineStream stream(*object.Get(), 2, 2);
        ASSERT_EQ(stream.Lock(), S_OK);
        ExpectGain(stream, -6.0);

        QuorvelAudioProfile model = profile;
        QuorvelAudioBlock first = AddGain(model, row.chain, NumberedGuid(10), -9.0f);
        QuorvelAudioBlock second = AddGain(model, row.chain, NumberedGuid(11), -3.0f);
        QuorvelAudioBlock foreign = AddGain(model, 3 - row.chain, NumberedGuid(12), -20.0f);
        _QuorvelAudioBlockLink link{profile.id, row.chain, NumberedGuid(10), NumberedGuid(11)};
        EXPECT_EQ(application.SetAudioBlock(&foreign), 0u);  // of the other chain
        EXPECT_EQ(application.SetAudioBlock(&first), 0u);    // changed
        ExpectGain(stream, -9.0);
        Core().Misbehave({.code = 0x226F60, .refuse = 31});
        EXPECT_EQ(application.SetAudioBlock(&second), 0u);  // added, but cannot be fetched
        EXPECT_EQ(application.SetProfileLink(&link), 0u);   // and so has no end in the graph
        ExpectGain(stream, -9.0);
        Core().Behave();
        EXPECT_EQ(application.RemoveAudioBlock(&second), 0u);
        EXPECT_EQ(application.SetAudioBlock(&second), 0u);  // added
        EXPECT_EQ(application.SetProfileLink(&link), 0u);
        ExpectGain(stream, -12.0);
        EXPECT_EQ(application.RemoveProfileLink(&link), 0u);  // two ends without a common source
        ExpectGain(stream, 0.0);
        EXPECT_EQ(application.SetProfileLink(&link), 0u);
        ExpectGain(stream, -12.0);
        EXPECT_EQ(application.RemoveAudioBlock(&first), 0u);
        ExpectGain(stream, -3.0);
        EXPECT_EQ(stream.Unlock(), S_OK);
        EXPECT_EQ(stream.Lock(), S_OK);
        ExpectGain(stream, -3.0);  // the profile followed too

        profile = GainProfile(row, -1.5f);
        EXPECT_EQ(application.SetProfileData(&profile), 0u);  // the whole profile
        ExpectGain(stream, -1.5);
        stream.Unlock();
        EXPECT_EQ(application.ClearProfiles(), 0u);
    }
}

TEST_F(DriverEvents, AssignTheClientAnotherProfile) {
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile fallback = GainProfile(row, -2.0f);
    fallback.id = kFallbackProfileId;
    fallback.ClearPaths(true);
    for (unsigned c = 0; c < fallback.chains.Count(); ++c) {
        fallback.chains.Item(c).profileId = fallback.id;
        fallback.chains.Item(c).blocks.Item(0).profileId = fallback.id;
    }
    ASSERT_EQ(application.SetProfileData(&fallback), 0u);
    const auto object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    ExpectGain(stream, -2.0);
    QuorvelAudioProfile own = GainProfile(row, -7.0f);
    ASSERT_EQ(application.SetProfileData(&own), 0u);  // 25, heard by who has the fallback
    ExpectGain(stream, -7.0);
    own.ClearPaths(true);
    own.AddPath(u"C:\\other.exe");
    ASSERT_EQ(application.SetProfilePaths(&own), 0u);  // 28, by who has that profile
    ExpectGain(stream, -2.0);
    headset->StartProgram(kProgram, u"C:\\other.exe");  // 24, by who has the fallback
    ExpectGain(stream, -7.0);
    ASSERT_EQ(application.RemoveProfile(&own), 0u);  // 26
    ExpectGain(stream, -2.0);

    headset->driver.AnnounceRemoval();
    headset->driver.Remove();
    ExpectGain(stream, -2.0);  // the last graph goes on
    stream.Unlock();
}

// Edits, buffers, queries, locks and removal at once; in the end the object is what the stored
// profile says.
TEST_F(DriverEvents, StormEndsInTheStoredProfile) {
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, -6.0f);
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
    const auto object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    std::thread editor([&] {
        std::mt19937 random(7);
        for (int i = 0; i < 400; ++i) {
            const GUID id = NumberedGuid(10 + static_cast<std::uint32_t>(random() % 3));
            QuorvelAudioProfile model = GainProfile(row, 0.0f);
            QuorvelAudioBlock block = AddGain(model, row.chain, id, -static_cast<float>(i % 12));
            _QuorvelAudioBlockLink link{
                profile.id, row.chain, id,
                NumberedGuid(10 + static_cast<std::uint32_t>(random() % 3))};
            switch (random() % 6) {
                case 0:
                    application.RemoveAudioBlock(&block);
                    break;
                case 1:
                    application.SetProfileLink(&link);
                    break;
                case 2:
                    application.RemoveProfileLink(&link);
                    break;
                case 3:
                    headset->StartProgram(kProgram + 1, kProgramPath);
                    break;
                default:
                    application.SetAudioBlock(&block);
            }
        }
        profile = GainProfile(row, -4.0f);
        EXPECT_EQ(application.SetProfileData(&profile), 0u);
    });
    for (int round = 0; round < 40; ++round) {
        EXPECT_EQ(stream.Lock(), S_OK);
        std::thread realTime([&] {
            for (int i = 0; i < 25; ++i) {
                std::ranges::fill(stream.in, 0.5f);
                stream.Process(i % 5 == 4 ? BUFFER_SILENT : BUFFER_VALID);
            }
        });
        realTime.join();
        EXPECT_EQ(stream.Unlock(), S_OK);
        MediaType supported;
        EXPECT_EQ(object.Get()->IsInputFormatSupported(stream.output.Get(), stream.input.Get(),
                                                       supported.Receive()),
                  S_OK);
    }
    editor.join();
    ASSERT_EQ(stream.Lock(), S_OK);
    ExpectGain(stream, -4.0);
    headset->driver.AnnounceRemoval();
    headset->driver.Remove();
    stream.Process();
    stream.Unlock();
}

}  // namespace
}  // namespace quorvel::test
