// The control codes of the headset's driver. All are buffered; questions need a handle with read
// access and have function numbers from 3000, changes need write access and count from 3514.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::control {

constexpr DWORD Question(DWORD function) {
    return CTL_CODE(FILE_DEVICE_UNKNOWN, function, METHOD_BUFFERED, FILE_READ_ACCESS);
}

constexpr DWORD Change(DWORD function) {
    return CTL_CODE(FILE_DEVICE_UNKNOWN, function, METHOD_BUFFERED, FILE_WRITE_ACCESS);
}

// Questions about the device.
inline constexpr DWORD kGetDriverVersion = Question(3000);
inline constexpr DWORD kGetInterfaceLink = Question(3001);
inline constexpr DWORD kGetDataFormatRange = Question(3002);
inline constexpr DWORD kGetChannelMask = Question(3003);
inline constexpr DWORD kGetRemovalEventName = Question(3011);
inline constexpr DWORD kGetDriverEnabled = Question(3013);
inline constexpr DWORD kGetLastFrequenciesInfo = Question(3017);
inline constexpr DWORD kGetProcessPathByPID = Question(3023);

// Questions about profiles.
inline constexpr DWORD kGetProfileBlocks = Question(3031);
inline constexpr DWORD kGetAudioBlock = Question(3032);
inline constexpr DWORD kGetProfileData = Question(3035);
inline constexpr DWORD kGetProfileForPID = Question(3036);
inline constexpr DWORD kGetProfilePaths = Question(3039);
inline constexpr DWORD kGetAllProfiles = Question(3040);
inline constexpr DWORD kGetProfileLinks = Question(3041);

// Notices about streams, sent by the audio processing objects.
inline constexpr DWORD kNoteStreamFormat = Change(3514);    // process id, 40 bytes of the format
inline constexpr DWORD kNoteStreamUnlocked = Change(3515);  // a 32-bit 123
inline constexpr DWORD kNoteActiveChannels = Change(3518);  // 32-bit channel mask
inline constexpr DWORD kNoteStreamObject = Change(3519);    // 32-bit 1 and is-output flag

// Stream analysis.
inline constexpr DWORD kEnableStreamAnalysis = Change(3521);
inline constexpr DWORD kSetStreamAnalysisParams = Change(3522);

// Changes of profiles.
inline constexpr DWORD kSetProfileBlocks = Change(3531);
inline constexpr DWORD kSetAudioBlock = Change(3532);
inline constexpr DWORD kRemoveAudioBlock = Change(3533);
inline constexpr DWORD kSetProfileData = Change(3535);
inline constexpr DWORD kRemoveProfile = Change(3537);
inline constexpr DWORD kClearProfiles = Change(3538);
inline constexpr DWORD kSetProfilePaths = Change(3539);
inline constexpr DWORD kSetProfileLinks = Change(3541);
inline constexpr DWORD kSetProfileLink = Change(3542);
inline constexpr DWORD kRemoveProfileLink = Change(3543);

static_assert(kGetDriverVersion == 0x226EE0);
static_assert(kRemoveProfileLink == 0x22B75C);

}  // namespace quorvel::control
