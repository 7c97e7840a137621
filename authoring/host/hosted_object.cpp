#include "authoring/host/hosted_object.h"

#include <algorithm>
#include <cstdio>

#include "apo/audio_media_type.h"
#include "apo/base_apo.h"
#include "apo/class_ids.h"
#include "authoring/document/exit_status.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/utf16_text.h"
#include "engine/audio_format.h"
#include "platform/interface_ids.h"
#include "platform/portable/registry/registry_tree.h"

namespace quorvel::tool {
namespace {

constexpr int kMostSuggestions = 4;

void Require(HRESULT result, const char* step) {
    if (SUCCEEDED(result)) return;
    char text[96];
    std::snprintf(text, sizeof(text), "the processing object refused %s: HRESULT 0x%08X", step,
                  static_cast<unsigned>(result));
    throw InvalidInput(text);
}

const IID& InterfaceOf(HostedStage stage, bool isOutput) {
    if (stage == HostedStage::kStream)
        return isOutput ? interface_id::kLfxOut : interface_id::kLfxIn;
    return isOutput ? interface_id::kGfxOut : interface_id::kGfxIn;
}

struct RegisteredClass {
    CLSID id;
    std::string name;
};

// The class with the interface, in the engine's list of objects.
RegisteredClass FindRegistered(const IID& interfaceId) {
    const WideText list = u"AudioEngine\\AudioProcessingObjects";
    const WideText wanted = ToUtf16(GuidText(interfaceId));
    for (const WideText& key : platform::RegistryKeys(list)) {
        const WideText place = list + u"\\" + key;
        const auto id = ParseGuid(ToUtf8(key).value_or(""));
        if (!id || platform::ReadRegistryValue(place, u"APOInterface0") != wanted) continue;
        const auto name = platform::ReadRegistryValue(place, u"FriendlyName");
        return {*id, ToUtf8(name.value_or(WideText())).value_or("")};
    }
    throw InvalidInput("the audio engine's list does not have the object");
}

UNCOMPRESSEDAUDIOFORMAT Uncompressed(const HostedFormat& format) {
    return {kIeeeFloatSubFormat, format.channels, 4, 32, static_cast<FLOAT>(format.sampleRate),
            format.mask};
}

ComReference<IAudioMediaType> MakeType(const HostedFormat& format) {
    ComReference<IAudioMediaType> type;
    Require(CreateAudioMediaType(Uncompressed(format), type.Receive()), "a format");
    return type;
}

APO_CONNECTION_DESCRIPTOR Describe(std::vector<float>& buffer, std::int32_t frames,
                                   IAudioMediaType& type) {
    return {APO_CONNECTION_BUFFER_TYPE_EXTERNAL, reinterpret_cast<UINT_PTR>(buffer.data()),
            static_cast<UINT32>(frames), &type, APO_CONNECTION_DESCRIPTOR_SIGNATURE};
}

APO_CONNECTION_PROPERTY BufferOf(std::vector<float>& samples, std::int32_t frames,
                                 APO_BUFFER_FLAGS flags) {
    return {reinterpret_cast<UINT_PTR>(samples.data()), static_cast<UINT32>(frames), flags,
            APO_CONNECTION_PROPERTY_SIGNATURE};
}

}  // namespace

HostedObject::HostedObject(simulation::SimulatedHeadset& headset, HostedStage stage, bool isOutput,
                           std::uint32_t process) {
    const RegisteredClass registered = FindRegistered(InterfaceOf(stage, isOutput));
    const CLSID& classId = registered.id;
    name = registered.name;
    headset.EnterEngine(classId, process);
    Require(CoCreateInstance(classId, nullptr, CLSCTX_ALL, interface_id::kAudioProcessingObject,
                             object.ReceiveAny()),
            "to be created");
    object->QueryInterface(interface_id::kAudioProcessingObjectRT, runner.ReceiveAny());
    object->QueryInterface(interface_id::kAudioProcessingObjectConfiguration, locker.ReceiveAny());

    ComReference<IMMDeviceCollection> devices;
    *devices.Receive() = headset.NewDevices(isOutput);
    APOInitSystemEffects2 record{};
    record.APOInit = {sizeof(record), classId};
    record.pDeviceCollection = devices.Get();
    Require(object->Initialize(sizeof(record), reinterpret_cast<BYTE*>(&record)),
            "to be initialised");
}

HostedObject::~HostedObject() {
    Unlock();
}

std::uint32_t HostedObject::Lock(const HostedFormat& input, const HostedFormat& output,
                                 std::int32_t frames) {
    const auto outputType = MakeType(output);
    const auto inputType = Negotiate(input, *outputType.Get());
    UNCOMPRESSEDAUDIOFORMAT agreed{};
    Require(inputType->GetUncompressedAudioFormat(&agreed), "its own format");
    inChannels = agreed.dwSamplesPerFrame;
    outChannels = output.channels;
    inBuffer.assign(std::size_t(frames) * inChannels, 0.0f);
    outBuffer.assign(std::size_t(frames) * outChannels, 0.0f);

    APO_CONNECTION_DESCRIPTOR from = Describe(inBuffer, frames, *inputType.Get());
    APO_CONNECTION_DESCRIPTOR to = Describe(outBuffer, frames, *outputType.Get());
    APO_CONNECTION_DESCRIPTOR* inputs[] = {&from};
    APO_CONNECTION_DESCRIPTOR* outputs[] = {&to};
    Require(locker->LockForProcess(1, inputs, 1, outputs), "to be locked");
    return agreed.dwChannelMask;
}

ComReference<IAudioMediaType> HostedObject::Negotiate(const HostedFormat& input,
                                                      IAudioMediaType& output) {
    auto requested = MakeType(input);
    for (int i = 0; i < kMostSuggestions; ++i) {
        ComReference<IAudioMediaType> supported;
        const HRESULT result =
            object->IsInputFormatSupported(&output, requested.Get(), supported.Receive());
        Require(result, "the input format");
        requested = std::move(supported);
        if (result != S_OK) continue;
        UNCOMPRESSEDAUDIOFORMAT agreed{};
        Require(requested->GetUncompressedAudioFormat(&agreed), "its own format");
        if (agreed.dwSamplesPerFrame == input.channels &&
            agreed.fFramesPerSecond == static_cast<FLOAT>(input.sampleRate))
            return requested;
        break;
    }
    throw InvalidInput("the processing object takes no such input: its rate or width is foreign");
}

// Beside COM: an engine has no question for it.
SampleGuard::Counts HostedObject::Caught() const {
    return dynamic_cast<BaseAPO&>(*object.Get()).CaughtSamples();
}

void HostedObject::Unlock() {
    if (outChannels != 0) locker->UnlockForProcess();
    outChannels = 0;
}

void HostedObject::Process(const float* in, float* out, std::int32_t frames,
                           APO_BUFFER_FLAGS flags) {
    std::copy_n(in, std::size_t(frames) * inChannels, inBuffer.data());
    APO_CONNECTION_PROPERTY from = BufferOf(inBuffer, frames, flags);
    APO_CONNECTION_PROPERTY to = BufferOf(outBuffer, 0, BUFFER_INVALID);
    APO_CONNECTION_PROPERTY* inputs[] = {&from};
    APO_CONNECTION_PROPERTY* outputs[] = {&to};
    runner->APOProcess(1, inputs, 1, outputs);
    const std::size_t samples = std::size_t{to.u32ValidFrameCount} * outChannels;
    if (to.u32BufferFlags == BUFFER_VALID) std::copy_n(outBuffer.data(), samples, out);
    if (to.u32BufferFlags == BUFFER_SILENT) std::fill_n(out, samples, 0.0f);
}

}  // namespace quorvel::tool
