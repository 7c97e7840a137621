#include "profile/quorvel_audio_profile_wrapper.h"

QuorvelAudioProfileWrapper::QuorvelAudioProfileWrapper() = default;
QuorvelAudioProfileWrapper::QuorvelAudioProfileWrapper(const QuorvelAudioProfileWrapper& other) =
    default;
QuorvelAudioProfileWrapper::QuorvelAudioProfileWrapper(
    QuorvelAudioProfileWrapper&& other) noexcept = default;
QuorvelAudioProfileWrapper& QuorvelAudioProfileWrapper::operator=(
    const QuorvelAudioProfileWrapper& other) = default;
QuorvelAudioProfileWrapper& QuorvelAudioProfileWrapper::operator=(
    QuorvelAudioProfileWrapper&& other) noexcept = default;
QuorvelAudioProfileWrapper::~QuorvelAudioProfileWrapper() = default;
