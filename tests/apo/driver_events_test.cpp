// What each event of the driver does to a processing object while it runs.
#include <algorithm>
#include <cmath>
#include <functional>
#include <mutex>
#include <random>
#include <thread>

#include "client/control_codes.h"
#include "engine/audio_graph.h"
#include "engine/graph_from_chain.h"
#include "tests/apo/apo_test.h"

namespace quorvel::test {
namespace {

// As often an object that begins asks at most.
constexpr std::uint32_t kMostFetches = 8;

class DriverEvents : public ApoTest {
  protected:
    // Waits until the object's gain is that many decibels.
    static void ExpectGain(EngineStream& stream, double decibels) {
        double heard = 0.0;
        EXPECT_TRUE(ComesTrue([&] {
            heard = 20.0 * std::log10(stream.Gain());
            return std::abs(heard - decibels) < 0.05;
        })) << "the gain is "
            << heard << " dB instead of " << decibels;
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
        QuorvelAudioProfile other;
        other.id = NumberedGuid(5);
        AddGain(other, row.chain, NumberedGuid(10), -30.0f);
        EXPECT_EQ(application.SetProfileData(&other), 0u);  // of another profile
        EXPECT_EQ(application.SetAudioBlock(&other.GetChain(row.chain, true)->blocks.Item(0)), 0u);
        EXPECT_EQ(application.SetAudioBlock(&first), 0u);  // changed
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

// Notices about other profiles, and those for objects of another kind, ask the driver nothing; a
// profile that is the same as before builds nothing anew.
TEST_F(DriverEvents, ThatDoNotConcernTheObjectPass) {
    for (const ClassRow& row : {kClassRows[0], kClassRows[1]}) {
        SCOPED_TRACE(row.isStream);
        QuorvelAudioProfile profile = GainProfile(row, -6.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        const auto object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EngineStream stream(*object.Get(), 2, 2);
        ASSERT_EQ(stream.Lock(), S_OK);
        const auto isAsked = [&](const std::function<void()>& happen) {
            Core().Misbehave({.code = control::kGetProfileForPID, .refuse = 31});
            happen();
            while (!headset->driver.IsHeard())
                std::this_thread::yield();
            QuorvelAudioProfile any;
            const bool isLeft = application.GetProfileForPID(kProgram, &any) == 31;
            Core().Behave();
            return !isLeft;
        };
        QuorvelAudioProfile other;
        other.id = NumberedGuid(50);
        other.AddPath(u"C:\\other.exe");
        EXPECT_FALSE(isAsked([&] { application.SetProfileData(&other); }));      // 25
        EXPECT_FALSE(isAsked([&] { application.SetProfilePaths(&other); }));     // 28
        EXPECT_FALSE(isAsked([&] { headset->StartProgram(9, u"C:\\x.exe"); }));  // 24
        EXPECT_FALSE(isAsked([&] { application.RemoveProfile(&other); }));       // 26
        EXPECT_EQ(isAsked([&] { application.SetProfilePaths(&profile); }), row.isStream);

        QuorvelAudioBlock foreign = AddGain(profile, 3 - row.chain, NumberedGuid(12), -20.0f);
        _QuorvelAudioBlockLink link{profile.id, 3 - row.chain, NumberedGuid(10), NumberedGuid(12)};
        EXPECT_EQ(application.SetAudioBlock(&foreign), 0u);
        EXPECT_EQ(application.SetAudioBlock(&foreign), 0u);
        EXPECT_EQ(application.SetProfileLink(&link), 0u);
        EXPECT_EQ(application.RemoveProfileLink(&link), 0u);
        EXPECT_EQ(application.RemoveAudioBlock(&foreign), 0u);
        // The other chain has a block of the same id.
        QuorvelAudioBlock twin = AddGain(profile, 3 - row.chain, NumberedGuid(10), -20.0f);
        _QuorvelAudioBlockLink loop{profile.id, 3 - row.chain, NumberedGuid(10), NumberedGuid(10)};
        EXPECT_EQ(application.SetAudioBlock(&twin), 0u);
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
        EXPECT_NEAR(20.0 * std::log10(stream.Gain()), -6.0, 0.05);
        EXPECT_EQ(application.SetProfileLink(&loop), 0u);
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
        EXPECT_NEAR(20.0 * std::log10(stream.Gain()), -6.0, 0.05);
        EXPECT_EQ(application.RemoveAudioBlock(&twin), 0u);
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
        EXPECT_NEAR(20.0 * std::log10(stream.Gain()), -6.0, 0.05);
        stream.Unlock();
        EXPECT_EQ(application.ClearProfiles(), 0u);
    }
}

// The gain of a graph that is built afresh from what the driver has stored.
double StoredGain(QuorvelAudioDevice& application, const GUID& id, DWORD chain) {
    QuorvelAudioProfile stored;
    stored.id = id;
    EXPECT_EQ(application.GetProfileData(&stored), 0u);
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    BuildGraphFromChain(graph, stored.GetChain(chain, false));
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(2, 3, 48000);
    std::vector<float> in(960, 0.5f), out(960);
    graph.Process(in.data(), out.data(), 480);
    return 20.0 * std::log10(out[0] / 0.5);
}

// Edits, buffers, queries, locks and removal at once. In the end the graph that was edited as it
// ran, and the profile beside it, are what a fresh build of the stored profile gives.
TEST_F(DriverEvents, StormEndsInTheStoredProfile) {
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, -6.0f);
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
    const auto object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    const auto edit = [&](std::uint32_t seed) {
        std::mt19937 random(seed);
        const auto any = [&] {
            return NumberedGuid(10 + static_cast<std::uint32_t>(random() % 3));
        };
        for (int i = 0; i < 200; ++i) {
            QuorvelAudioProfile model = GainProfile(row, 0.0f);
            QuorvelAudioBlock block =
                AddGain(model, row.chain, any(), -static_cast<float>(random() % 12));
            _QuorvelAudioBlockLink link{profile.id, row.chain, any(), any()};
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
    };
    for (std::uint32_t round = 0; round < 20; ++round) {
        EXPECT_EQ(stream.Lock(), S_OK);
        std::thread editor(edit, round);
        std::thread realTime([&] {
            for (int i = 0; i < 25; ++i) {
                std::ranges::fill(stream.in, 0.5f);
                stream.Process(i % 5 == 4 ? BUFFER_SILENT : BUFFER_VALID);
            }
        });
        realTime.join();
        if (round % 2 == 0) {
            EXPECT_EQ(stream.Unlock(), S_OK);
            MediaType supported;
            EXPECT_EQ(object.Get()->IsInputFormatSupported(stream.output.Get(), stream.input.Get(),
                                                           supported.Receive()),
                      S_OK);
            EXPECT_EQ(stream.Lock(), S_OK);
        }
        editor.join();
        while (!headset->driver.IsHeard())
            std::this_thread::yield();
        const double stored = StoredGain(application, profile.id, row.chain);
        EXPECT_NEAR(20.0 * std::log10(stream.Gain()), stored, 0.05) << "round " << round;
        EXPECT_EQ(stream.Unlock(), S_OK);
        EXPECT_EQ(stream.Lock(), S_OK);
        EXPECT_NEAR(20.0 * std::log10(stream.Gain()), stored, 0.05) << "round " << round;
        EXPECT_EQ(stream.Unlock(), S_OK);
    }
    std::thread engine([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(stream.Lock(), S_OK);
            stream.Process(i % 3 == 2 ? BUFFER_SILENT : BUFFER_VALID);
            EXPECT_EQ(stream.Unlock(), S_OK);
        }
    });
    headset->driver.AnnounceRemoval();
    headset->driver.Remove();
    engine.join();
}

// Objects come and go while the application edits; one that begins in the midst of it ends up with
// what is stored. (One that begins while nothing is stored has no profile, and follows none.)
TEST_F(DriverEvents, ComeWhileObjectsBeginAndEnd) {
    for (const ClassRow& row : {kClassRows[0], kClassRows[1]}) {
        for (std::uint32_t round = 0; round < 15; ++round) {
            QuorvelAudioProfile profile = GainProfile(row, -6.0f);
            ASSERT_EQ(application.SetProfileData(&profile), 0u);
            std::mutex nothingStored;
            std::thread editor([&, round] {
                std::mt19937 random(round);
                for (int i = 0; i < 60; ++i) {
                    QuorvelAudioProfile model =
                        GainProfile(row, -static_cast<float>(random() % 12));
                    std::unique_lock lock(nothingStored, std::defer_lock);
                    if (random() % 4 == 0) {
                        lock.lock();
                        application.ClearProfiles();
                    }
                    application.SetProfileData(&model);
                    if (lock) lock.unlock();
                    application.SetAudioBlock(&model.GetChain(row.chain, true)->blocks.Item(0));
                }
            });
            for (int i = 0; i < 5; ++i) {
                const auto passing = Make(*row.id);
                EXPECT_EQ(Initialize(*passing.Get(), row), S_OK);
                EXPECT_EQ(Initialize(*passing.Get(), row), S_OK);
            }
            const auto object = Make(*row.id);
            {
                const std::lock_guard lock(nothingStored);
                EXPECT_EQ(Initialize(*object.Get(), row), S_OK);
            }
            editor.join();
            while (!headset->driver.IsHeard())
                std::this_thread::yield();
            EngineStream stream(*object.Get(), 2, 2);
            ASSERT_EQ(stream.Lock(), S_OK);
            EXPECT_NEAR(20.0 * std::log10(stream.Gain()),
                        StoredGain(application, profile.id, row.chain), 0.05)
                << round;
            stream.Unlock();
        }
    }
}

// The profile changes behind each of the first fetches of an object that begins, which has none yet
// and so follows none: it ends up with the last one all the same.
TEST_F(DriverEvents, MakeFetchesOldWhileAnObjectBegins) {
    for (const ClassRow& row : {kClassRows[0], kClassRows[1]}) {
        const DWORD fetch = row.isStream ? control::kGetProfileForPID : control::kGetProfileData;
        for (const std::uint32_t changes : {1u, kMostFetches}) {
            SCOPED_TRACE(testing::Message() << row.isStream << ", changes: " << changes);
            QuorvelAudioProfile profile = GainProfile(row, -20.0f);
            ASSERT_EQ(application.SetProfileData(&profile), 0u);
            Core().Misbehave({.code = fetch, .times = changes, .silent = true});
            const auto object = Make(*row.id);
            std::thread engine([&] { EXPECT_EQ(Initialize(*object.Get(), row), S_OK); });
            for (std::uint32_t i = 1; i <= changes; ++i) {
                EXPECT_TRUE(ComesTrue([&] { return Core().IsSilent(); })) << "fetch " << i;
                profile = GainProfile(row, -static_cast<float>(i));
                EXPECT_EQ(application.SetProfileData(&profile), 0u);
                // The last fetch has the events wait.
                if (i < kMostFetches) {
                    EXPECT_TRUE(ComesTrue([&] { return headset->driver.IsHeard(); })) << i;
                }
                Core().EndSilence();
            }
            Core().Behave();  // no further fetch is held back, and the one under way is not either
            Core().EndSilence();
            engine.join();
            EngineStream stream(*object.Get(), 2, 2);
            ASSERT_EQ(stream.Lock(), S_OK);
            ExpectGain(stream, -static_cast<double>(changes));
            stream.Unlock();
            EXPECT_EQ(application.ClearProfiles(), 0u);
        }
    }
}

}  // namespace
}  // namespace quorvel::test
