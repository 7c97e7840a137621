// Who is told what the driver announces.
#pragma once

#include "client/driver_events.h"
#include "platform/windows_api.h"

// Its two operations run on the events thread of the device, one at a time; what they share with
// other threads they protect themselves. They may send requests through the device and must not
// open, close or destroy it: those wait for this very thread. They must not throw. Other
// programs link against it: no member is inline, and there is no virtual destructor, so a listener
// is not destroyed through this type.
class IQuorvelAudioDeviceEventsListener {
  public:
    IQuorvelAudioDeviceEventsListener();
    IQuorvelAudioDeviceEventsListener(const IQuorvelAudioDeviceEventsListener& other);
    IQuorvelAudioDeviceEventsListener& operator=(const IQuorvelAudioDeviceEventsListener& other);

    // One event, in the order of the stream. `time` is local time, all zeros when the driver's
    // stamp is no time. `data` is the payload, unaligned, valid until the call returns. The bytes
    // that the event's kind gives a meaning (ReadablePayload) can be read; where the driver claims
    // fewer, the rest is arbitrary. Does nothing here.
    virtual void OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents event, void* data);

    // The device is going away. True closes it: requests then fail, events end. False keeps it, and
    // the question comes again, without a pause, as long as the removal is announced. False here.
    virtual bool OnQuorvelAudioDeviceRemoval();
};
