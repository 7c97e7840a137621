// The functions behind the control codes; driver_requests.h tells what they promise.
#pragma once

#include "platform/simulation/driver/driver_requests.h"

namespace quorvel::simulation {

// Questions about the device (device_questions.cpp).
Answer GetDriverVersion(DriverState& state, const Request& request, DriverEvents& events);
Answer GetInterfaceLink(DriverState& state, const Request& request, DriverEvents& events);
Answer GetDataFormatRange(DriverState& state, const Request& request, DriverEvents& events);
Answer GetChannelMask(DriverState& state, const Request& request, DriverEvents& events);
Answer GetRemovalEventName(DriverState& state, const Request& request, DriverEvents& events);
Answer GetDriverEnabled(DriverState& state, const Request& request, DriverEvents& events);
Answer GetLastFrequencies(DriverState& state, const Request& request, DriverEvents& events);
Answer GetProcessPath(DriverState& state, const Request& request, DriverEvents& events);

// What streams and the analysis are told (device_questions.cpp).
Answer TakeNotice(DriverState& state, const Request& request, DriverEvents& events);
Answer NoteStreamUnlocked(DriverState& state, const Request& request, DriverEvents& events);
Answer EnableStreamAnalysis(DriverState& state, const Request& request, DriverEvents& events);
Answer SetStreamAnalysisParams(DriverState& state, const Request& request, DriverEvents& events);

// Profiles and their parts, read (profile_questions.cpp).
Answer GetProfileData(DriverState& state, const Request& request, DriverEvents& events);
Answer GetProfileForProcess(DriverState& state, const Request& request, DriverEvents& events);
Answer GetProfilePaths(DriverState& state, const Request& request, DriverEvents& events);
Answer GetProfileBlocks(DriverState& state, const Request& request, DriverEvents& events);
Answer GetProfileLinks(DriverState& state, const Request& request, DriverEvents& events);
Answer GetAudioBlock(DriverState& state, const Request& request, DriverEvents& events);
Answer GetAllProfiles(DriverState& state, const Request& request, DriverEvents& events);

// Profiles and their parts, changed (profile_changes.cpp).
Answer SetProfileData(DriverState& state, const Request& request, DriverEvents& events);
Answer RemoveProfile(DriverState& state, const Request& request, DriverEvents& events);
Answer ClearProfiles(DriverState& state, const Request& request, DriverEvents& events);
Answer SetProfilePaths(DriverState& state, const Request& request, DriverEvents& events);
Answer SetProfileBlocks(DriverState& state, const Request& request, DriverEvents& events);
Answer SetProfileLinks(DriverState& state, const Request& request, DriverEvents& events);
Answer SetAudioBlock(DriverState& state, const Request& request, DriverEvents& events);
Answer RemoveAudioBlock(DriverState& state, const Request& request, DriverEvents& events);
Answer SetProfileLink(DriverState& state, const Request& request, DriverEvents& events);
Answer RemoveProfileLink(DriverState& state, const Request& request, DriverEvents& events);

}  // namespace quorvel::simulation
