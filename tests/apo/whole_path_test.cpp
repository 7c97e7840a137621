// From registration to sound and back, for all four classes.
#include <algorithm>
#include <cmath>

#include "engine/audio_graph.h"
#include "engine/graph_from_chain.h"
#include "platform/random.h"
#include "tests/apo/apo_test.h"
#include "tests/support/same_bits.h"

namespace quorvel::test {
namespace {

using WholePath = ApoTest;

// The same chain in a graph of its own, with the noise that the object has: its table is drawn on
// the control thread, which the machine's clock seeds.
std::vector<float> Expected(QuorvelAudioProfile& profile, const ClassRow& row,
                            const EngineStream& stream, std::vector<float> in) {
    AudioGraph graph;
    graph.SetUpmixMode(row.isOutput ? 2 : 1);
    platform::SeedRand(simulation::SimulatedMachine::kStartOfClock);
    BuildGraphFromChain(graph, profile.GetChain(row.chain, false));
    graph.SetFormats(stream.input.Get()->GetAudioFormat(), stream.output.Get()->GetAudioFormat());
    std::vector<float> out(stream.out.size());
    graph.Process(in.data(), out.data(), EngineStream::kFrames);
    return out;
}

class SoundOf : public ApoTest, public testing::WithParamInterface<std::pair<DWORD, DWORD>> {};

// From one channel to several the classes differ: the headset hears it in its sides, the listeners
// of the microphone in all channels.
INSTANTIATE_TEST_SUITE_P(WholePath, SoundOf, testing::Values(std::pair(2u, 2u), std::pair(1u, 6u)));

TEST_P(SoundOf, AnObjectIsThatOfTheChain) {
    for (const ClassRow& row : kClassRows) {
        QuorvelAudioProfile profile = GainProfile(row, -6.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        const auto object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EXPECT_EQ(headset->machine.NotificationClients(), 1u);
        EngineStream stream(*object.Get(), GetParam().first, GetParam().second);
        ASSERT_EQ(stream.Lock(), S_OK);
        for (std::size_t i = 0; i < stream.in.size(); ++i)
            stream.in[i] = 0.4f * std::sin(0.05f * static_cast<float>(i));
        const auto expected = Expected(profile, row, stream, stream.in);
        platform::SeedRand(simulation::SimulatedMachine::kStartOfClock);
        for (int table = 0; table < 16; ++table)
            platform::Rand();
        EXPECT_EQ(stream.Process(), BUFFER_VALID);
        EXPECT_EQ(stream.framesOut, EngineStream::kFrames);
        ExpectSameBits(stream.out, expected);
        EXPECT_EQ(stream.Unlock(), S_OK);
        EXPECT_EQ(stream.Unlock(), APOERR_ALREADY_UNLOCKED);
    }
}

TEST_F(WholePath, TellsTheDriverOfStreamsOnly) {
    for (const ClassRow& row : kClassRows) {
        const std::size_t before = Core().GetStreamNotices().size();
        {
            const auto object = Make(*row.id);
            ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
            EngineStream stream(*object.Get(), 2, 2, 44100.0f);
            ASSERT_EQ(stream.Lock(), S_OK);
            stream.in[0] = 0.5f;
            stream.Process();
            EXPECT_EQ(stream.Process(BUFFER_INVALID), BUFFER_INVALID);
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(stream.Process(BUFFER_SILENT), BUFFER_SILENT);
            stream.Unlock();
        }
        auto notices = Core().GetStreamNotices();
        notices.erase(notices.begin(), notices.begin() + static_cast<std::ptrdiff_t>(before));
        if (!row.isStream) {
            EXPECT_TRUE(notices.empty());
            continue;
        }
        ASSERT_EQ(notices.size(), 5u);
        const auto word = [&](std::size_t notice, std::size_t offset) {
            return simulation::LoadWord(notices[notice].bytes, offset);
        };
        EXPECT_EQ(notices[0].code, 0x22B6FCu);
        EXPECT_EQ(word(0, 0), 1u);
        EXPECT_EQ(word(0, 4), row.isOutput ? 1u : 0u);
        EXPECT_EQ(notices[1].code, 0x22B6E8u);
        EXPECT_EQ(notices[1].bytes.size(), 44u);
        EXPECT_EQ(word(1, 0), kProgram);
        EXPECT_EQ(word(1, 4), 0x0002FFFEu) << "tag and channels";
        EXPECT_EQ(word(1, 8), 44100u);
        EXPECT_EQ(word(1, 12), 352800u);
        EXPECT_EQ(word(1, 20), 0x00020016u) << "the valid bits are the channels";
        EXPECT_EQ(word(1, 24), 3u) << "the mask that the format lacks";
        EXPECT_EQ(word(2, 0), 1u) << "the left channel was heard";
        EXPECT_EQ(notices[2].code, 0x22B6F8u);
        EXPECT_EQ(word(3, 0), 0u) << "and then silence, told once";
        EXPECT_EQ(notices[4].code, 0x22B6ECu);
        EXPECT_EQ(word(4, 0), 123u);
    }
}

TEST_F(WholePath, SilentInputBecomesZeros) {
    const auto object = Make(class_id::kGfxOut);
    ASSERT_EQ(Initialize(*object.Get(), kClassRows[1]), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    std::ranges::fill(stream.out, 7.0f);
    EXPECT_EQ(stream.Process(BUFFER_VALID, 479), BUFFER_VALID);
    EXPECT_EQ(std::ranges::count(stream.out, 0.0f), 479 * 2) << "and nothing behind them";
    stream.Unlock();
}

TEST_F(WholePath, AnswersWhatItIs) {
    for (const ClassRow& row : kClassRows) {
        const auto object = Make(*row.id);
        ComReference<IUnknown> identity, other;
        const IID* const ids[] = {row.interfaceId,
                                  &interface_id::kAudioSystemEffects,
                                  &interface_id::kAudioSystemEffects2,
                                  &interface_id::kNotificationClient,
                                  &interface_id::kAudioProcessingObjectRT,
                                  &interface_id::kAudioProcessingObject,
                                  &interface_id::kAudioProcessingObjectConfiguration};
        object.Get()->QueryInterface(interface_id::kUnknown, identity.ReceiveAny());
        for (const IID* const id : ids) {
            ComReference<IUnknown> face;
            EXPECT_EQ(object.Get()->QueryInterface(*id, face.ReceiveAny()), S_OK);
            face->QueryInterface(interface_id::kUnknown, other.ReceiveAny());
            EXPECT_EQ(other.Get(), identity.Get());
        }
        EXPECT_EQ(object.Get()->QueryInterface(NumberedGuid(1), other.ReceiveAny()), E_NOINTERFACE);

        HNSTIME latency = 1;
        APO_REG_PROPERTIES* record = nullptr;
        EXPECT_EQ(object.Get()->GetLatency(&latency), S_OK);
        EXPECT_EQ(latency, 0);
        EXPECT_EQ(object.Get()->GetLatency(nullptr), E_POINTER);
        EXPECT_EQ(object.Get()->GetRegistrationProperties(nullptr), E_POINTER);
        ASSERT_EQ(object.Get()->GetRegistrationProperties(&record), S_OK);
        EXPECT_TRUE(record->clsid == *row.id && record->iidAPOInterfaceList[0] == *row.interfaceId);
        CoTaskMemFree(record);

        ComReference<IAudioSystemEffects2> effects;
        object.Get()->QueryInterface(interface_id::kAudioSystemEffects2, effects.ReceiveAny());
        LPGUID list = nullptr;
        UINT count = 9;
        EXPECT_EQ(effects->GetEffectsList(nullptr, &count, nullptr), E_POINTER);
        EXPECT_EQ(effects->GetEffectsList(&list, &count, nullptr), S_OK);
        EXPECT_TRUE(count == 0 && !list) << "not before the driver says that it is on";
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EXPECT_EQ(effects->GetEffectsList(&list, &count, nullptr), S_OK);
        ASSERT_EQ(count, 1u);
        EXPECT_TRUE(*list == *row.effect);
        CoTaskMemFree(list);
    }
}

}  // namespace
}  // namespace quorvel::test
