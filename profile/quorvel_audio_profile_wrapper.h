// A profile held by value.
#pragma once

#include "profile/quorvel_audio_profile.h"

// Copies, moves and dies as its profile does; none of that is inline: other programs link to it.
struct QuorvelAudioProfileWrapper {
    QuorvelAudioProfileWrapper();
    QuorvelAudioProfileWrapper(const QuorvelAudioProfileWrapper& other);
    QuorvelAudioProfileWrapper(QuorvelAudioProfileWrapper&& other) noexcept;
    QuorvelAudioProfileWrapper& operator=(const QuorvelAudioProfileWrapper& other);
    QuorvelAudioProfileWrapper& operator=(QuorvelAudioProfileWrapper&& other) noexcept;
    ~QuorvelAudioProfileWrapper();

    QuorvelAudioProfile profile;
};
