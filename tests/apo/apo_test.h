// The audio engine's side of the processing objects, for tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "apo/apo_classes.h"
#include "apo/audio_media_type.h"
#include "apo/class_ids.h"
#include "apo/dll_exports.h"
#include "engine/audio_format.h"
#include "kinds/block_type_ids.h"
#include "platform/module_file.h"
#include "platform/portable/com/class_table.h"
#include "platform/portable/registry/registry_tree.h"
#include "platform/simulation/machine/simulated_headset.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "tests/support/handles.h"
#include "tests/support/random_profile.h"

namespace quorvel::test {

struct ClassRow {
    const CLSID* id;
    const IID* interfaceId;
    const GUID* effect;
    DWORD chain;
    bool isOutput;
    bool isStream;
};

inline const ClassRow kClassRows[] = {
    {&class_id::kLfxOut, &interface_id::kLfxOut, &effect_id::kLfxOut, 1, true, true},
    {&class_id::kGfxOut, &interface_id::kGfxOut, &effect_id::kGfxOut, 1, true, false},
    {&class_id::kLfxIn, &interface_id::kLfxIn, &effect_id::kLfxIn, 2, false, true},
    {&class_id::kGfxIn, &interface_id::kGfxIn, &effect_id::kGfxIn, 2, false, false},
};

inline constexpr DWORD kProgram = 77;
inline constexpr WCHAR kProgramPath[] = u"C:\\Games\\arena.exe";

using MediaType = ComReference<IAudioMediaType>;

inline UNCOMPRESSEDAUDIOFORMAT Float(DWORD channels, float rate = 48000.0f, DWORD mask = 0) {
    return {kIeeeFloatSubFormat, channels, 4, 32, rate, mask};
}

inline MediaType MakeType(const UNCOMPRESSEDAUDIOFORMAT& format) {
    MediaType type;
    EXPECT_EQ(CreateAudioMediaType(format, type.Receive()), S_OK);
    return type;
}

// An object with its buffers, as the engine drives it.
class EngineStream {
  public:
    EngineStream(IUnknown& object, DWORD inChannels, DWORD outChannels, float rate = 48000.0f)
        : input(MakeType(Float(inChannels, rate))),
          output(MakeType(Float(outChannels, rate))),
          in(std::size_t{kFrames} * inChannels),
          out(std::size_t{kFrames} * outChannels) {
        object.QueryInterface(interface_id::kAudioProcessingObjectRT, runner.ReceiveAny());
        object.QueryInterface(interface_id::kAudioProcessingObjectConfiguration,
                              locker.ReceiveAny());
    }

    HRESULT Lock() {
        APO_CONNECTION_DESCRIPTOR from = Describe(in, *input.Get()),
                                  to = Describe(out, *output.Get());
        APO_CONNECTION_DESCRIPTOR *inputs[] = {&from}, *outputs[] = {&to};
        return locker->LockForProcess(1, inputs, 1, outputs);
    }
    HRESULT Unlock() { return locker->UnlockForProcess(); }

    // Processes `in` to `out`; the flags that the output got.
    APO_BUFFER_FLAGS Process(APO_BUFFER_FLAGS flags = BUFFER_VALID, UINT32 frames = kFrames) {
        APO_CONNECTION_PROPERTY from{reinterpret_cast<UINT_PTR>(in.data()), frames, flags,
                                     APO_CONNECTION_PROPERTY_SIGNATURE};
        APO_CONNECTION_PROPERTY to{reinterpret_cast<UINT_PTR>(out.data()), 12345, BUFFER_INVALID,
                                   APO_CONNECTION_PROPERTY_SIGNATURE};
        APO_CONNECTION_PROPERTY *inputs[] = {&from}, *outputs[] = {&to};
        runner->APOProcess(1, inputs, 1, outputs);
        framesOut = to.u32ValidFrameCount;
        return to.u32BufferFlags;
    }

    // The first output sample for an input of ones, which is the chain's gain but for the noise.
    float Gain() {
        std::ranges::fill(in, 0.5f);
        Process();
        return out[0] / 0.5f;
    }

    static constexpr UINT32 kFrames = 480;
    MediaType input, output;
    std::vector<float> in, out;
    UINT32 framesOut = 0;
    ComReference<IAudioProcessingObjectRT> runner;
    ComReference<IAudioProcessingObjectConfiguration> locker;

  private:
    static APO_CONNECTION_DESCRIPTOR Describe(std::vector<float>& buffer, IAudioMediaType& type) {
        return {APO_CONNECTION_BUFFER_TYPE_EXTERNAL, reinterpret_cast<UINT_PTR>(buffer.data()),
                kFrames, &type, APO_CONNECTION_DESCRIPTOR_SIGNATURE};
    }
};

// A computer with the headset, the module registered and a program running.
class ApoTest : public HandleBalance {
  protected:
    void SetUp() override {
        HandleBalance::SetUp();
        headset.emplace();
        platform::SetModuleFile(platform::ModuleFile(), DllGetClassObject);
        ASSERT_EQ(DllRegisterServer(), S_OK);
        headset->StartProgram(kProgram, kProgramPath);
        ASSERT_EQ(application.Open(headset->DriverPath().c_str(), nullptr), 0u);
    }
    void TearDown() override {
        application.Close();
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
        EXPECT_EQ(headset->machine.NotificationClients(), 0u);
        EXPECT_EQ(headset->machine.LiveObjects(), 0u);
        headset.reset();
        platform::ClearRegistry();
        EXPECT_EQ(platform::OpenRegistryKeys(), 0u);
        HandleBalance::TearDown();
    }

    simulation::DriverCore& Core() { return headset->driver.Core(); }

    // Whether `condition` comes true; a machine under load gets ten seconds for it.
    static bool ComesTrue(const std::function<bool()>& condition) {
        for (int ms = 0; ms < 10'000 && !condition(); ++ms)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return condition();
    }

    static ComReference<IAudioProcessingObject> Make(const CLSID& id) {
        ComReference<IAudioProcessingObject> object;
        EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_ALL, interface_id::kAudioProcessingObject,
                                   object.ReceiveAny()),
                  S_OK);
        return object;
    }

    HRESULT Initialize(IAudioProcessingObject& object, const ClassRow& row) {
        headset->EnterEngine(*row.id, kProgram);
        ComReference<IMMDeviceCollection> devices;
        *devices.Receive() = headset->NewDevices(row.isOutput);
        APOInitSystemEffects2 record{};
        record.APOInit = {sizeof(record), *row.id};
        record.pDeviceCollection = devices.Get();
        return object.Initialize(sizeof(record), reinterpret_cast<BYTE*>(&record));
    }

    // The profile that the class's objects run: a gain block in each chain.
    static QuorvelAudioProfile GainProfile(const ClassRow& row, float gainDb) {
        QuorvelAudioProfile profile;
        profile.id = row.isStream ? NumberedGuid(1) : kEndpointProfileId;
        profile.AddPath(kProgramPath);
        for (const DWORD chain : {1u, 2u})
            AddGain(profile, chain, NumberedGuid(10), chain == row.chain ? gainDb : 1.0f);
        return profile;
    }
    static QuorvelAudioBlock AddGain(QuorvelAudioProfile& profile, DWORD chainId, const GUID& id,
                                     float gainDb) {
        QuorvelAudioBlocksChain& chain = *profile.GetChain(chainId, true);
        QuorvelAudioBlock block(&profile, &chain, kGainBlockTypeId, id);
        block.SetData(&gainDb, sizeof(gainDb));
        chain.blocks.Add(block);
        return block;
    }

    std::optional<simulation::SimulatedHeadset> headset;
    QuorvelAudioDevice application;  // a configuration application's
};

}  // namespace quorvel::test
