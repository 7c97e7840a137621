#include "client/quorvel_audio_device_events_listener.h"

IQuorvelAudioDeviceEventsListener::IQuorvelAudioDeviceEventsListener() = default;
IQuorvelAudioDeviceEventsListener::IQuorvelAudioDeviceEventsListener(
    const IQuorvelAudioDeviceEventsListener& other) = default;
IQuorvelAudioDeviceEventsListener& IQuorvelAudioDeviceEventsListener::operator=(
    const IQuorvelAudioDeviceEventsListener& other) = default;

void IQuorvelAudioDeviceEventsListener::OnQuorvelAudioDeviceEvent(SYSTEMTIME, QuorvelDriverEvents,
                                                                  void*) {}

bool IQuorvelAudioDeviceEventsListener::OnQuorvelAudioDeviceRemoval() {
    return false;
}
