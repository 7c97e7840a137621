#include "apo/apo_classes.h"

#include "apo/class_ids.h"
#include "apo/registration/registration_records.h"

namespace quorvel {
namespace {

// Chains of a profile: one for the headset, one for its microphone.
constexpr DWORD kOutputChain = 1;
constexpr DWORD kInputChain = 2;

// The interfaces of a class in the order in which they are looked for.
template <typename Class, typename Own>
std::span<const InterfaceEntry> MapOf(const IID& own) {
    namespace id = interface_id;
    static const InterfaceEntry kMap[] = {
        MapInterface<Class, Own>(own),
        MapInterface<Class, IAudioSystemEffects2>(id::kAudioSystemEffects),
        MapInterface<Class, IAudioSystemEffects2>(id::kAudioSystemEffects2),
        MapInterface<Class, IMMNotificationClient>(id::kNotificationClient),
        MapInterface<Class, IAudioProcessingObjectRT>(id::kAudioProcessingObjectRT),
        MapInterface<Class, IAudioProcessingObject>(id::kAudioProcessingObject),
        MapInterface<Class, IAudioProcessingObjectConfiguration>(
            id::kAudioProcessingObjectConfiguration),
    };
    return kMap;
}

}  // namespace

APOLFXOUT::APOLFXOUT() : APOLFX(lfxOutRegistration) {}

std::span<const InterfaceEntry> APOLFXOUT::InterfaceMap() {
    return MapOf<APOLFXOUT, IAPOLFXOUT>(interface_id::kLfxOut);
}

std::span<const GUID> APOLFXOUT::GetEffectIds() {
    return {&effect_id::kLfxOut, 1};
}

DWORD APOLFXOUT::GetChainId() {
    return kOutputChain;
}

bool APOLFXOUT::IsOutput() {
    return true;
}

bool APOLFXOUT::UsesChannelHoldTime() {
    return true;
}

const CLSID& APOLFXOUT::GetClassId() {
    return class_id::kLfxOut;
}

APOGFXOUT::APOGFXOUT() : APOGFX(gfxOutRegistration) {}

std::span<const InterfaceEntry> APOGFXOUT::InterfaceMap() {
    return MapOf<APOGFXOUT, IAPOGFXOUT>(interface_id::kGfxOut);
}

std::span<const GUID> APOGFXOUT::GetEffectIds() {
    return {&effect_id::kGfxOut, 1};
}

DWORD APOGFXOUT::GetChainId() {
    return kOutputChain;
}

bool APOGFXOUT::IsOutput() {
    return true;
}

APOLFXIN::APOLFXIN() : APOLFX(lfxInRegistration) {}

std::span<const InterfaceEntry> APOLFXIN::InterfaceMap() {
    return MapOf<APOLFXIN, IAPOLFXIN>(interface_id::kLfxIn);
}

std::span<const GUID> APOLFXIN::GetEffectIds() {
    return {&effect_id::kLfxIn, 1};
}

DWORD APOLFXIN::GetChainId() {
    return kInputChain;
}

bool APOLFXIN::IsOutput() {
    return false;
}

const CLSID& APOLFXIN::GetClassId() {
    return class_id::kLfxIn;
}

APOGFXIN::APOGFXIN() : APOGFX(gfxInRegistration) {}

std::span<const InterfaceEntry> APOGFXIN::InterfaceMap() {
    return MapOf<APOGFXIN, IAPOGFXIN>(interface_id::kGfxIn);
}

std::span<const GUID> APOGFXIN::GetEffectIds() {
    return {&effect_id::kGfxIn, 1};
}

DWORD APOGFXIN::GetChainId() {
    return kInputChain;
}

bool APOGFXIN::IsOutput() {
    return false;
}

}  // namespace quorvel
