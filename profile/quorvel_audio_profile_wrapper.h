// A profile held by value.
#pragma once

#include "profile/quorvel_audio_profile.h"

// Copies, moves and dies as its profile does.
struct QuorvelAudioProfileWrapper {
    QuorvelAudioProfile profile;
};
