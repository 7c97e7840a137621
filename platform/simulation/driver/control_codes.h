// The control codes that the driver answers.
//
// A code is device type << 16 | access << 14 | function << 2 | method: device type 0x22, method 0
// (buffered), functions from 3000 for questions (read access), from 3514 for changes (write
// access).
#pragma once

#include <cstdint>

namespace quorvel::simulation {

enum class ControlCode : std::uint32_t {
    GetDriverVersion = 0x226EE0,
    GetInterfaceLink = 0x226EE4,
    GetDataFormatRange = 0x226EE8,
    GetChannelMask = 0x226EEC,
    GetRemovalEventName = 0x226F0C,
    GetDriverEnabled = 0x226F14,
    GetLastFrequencies = 0x226F24,
    GetProcessPath = 0x226F3C,
    GetProfileBlocks = 0x226F5C,
    GetAudioBlock = 0x226F60,
    GetProfileData = 0x226F6C,
    GetProfileForProcess = 0x226F70,
    GetProfilePaths = 0x226F7C,
    GetAllProfiles = 0x226F80,
    GetProfileLinks = 0x226F84,
    NoteStreamFormat = 0x22B6E8,
    NoteStreamUnlocked = 0x22B6EC,
    NoteActiveChannels = 0x22B6F8,
    NoteStreamObject = 0x22B6FC,
    EnableStreamAnalysis = 0x22B704,
    SetStreamAnalysisParams = 0x22B708,
    SetProfileBlocks = 0x22B72C,
    SetAudioBlock = 0x22B730,
    RemoveAudioBlock = 0x22B734,
    SetProfileData = 0x22B73C,
    RemoveProfile = 0x22B744,
    ClearProfiles = 0x22B748,
    SetProfilePaths = 0x22B74C,
    SetProfileLinks = 0x22B754,
    SetProfileLink = 0x22B758,
    RemoveProfileLink = 0x22B75C,
};

// Rights of an open handle, as bits; the same bits stand in a code at 14 and 15.
inline constexpr std::uint32_t kReadAccess = 1;
inline constexpr std::uint32_t kWriteAccess = 2;

// The right that a handle needs for the code.
constexpr std::uint32_t AccessOf(std::uint32_t code) {
    return (code >> 14) & 3;
}

}  // namespace quorvel::simulation
