// Identifiers of the interfaces and classes that cross the border to the audio engine. They lie in
// the section RT_CONST.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::interface_id {

extern const IID kUnknown;
extern const IID kClassFactory;
extern const IID kDeviceEnumerator;
extern const IID kNotificationClient;
extern const IID kAudioMediaType;
extern const IID kAudioProcessingObject;
extern const IID kAudioProcessingObjectRT;
extern const IID kAudioProcessingObjectConfiguration;
extern const IID kAudioSystemEffects;
extern const IID kAudioSystemEffects2;

}  // namespace quorvel::interface_id

namespace quorvel::class_id {

extern const CLSID kDeviceEnumerator;

}  // namespace quorvel::class_id
