// Identifiers of the four classes that the audio engine creates, of the one interface that each of
// them is registered with, and of the effect that each stands for.
#pragma once

#include "platform/windows_api.h"

namespace quorvel {

namespace class_id {

extern const CLSID kLfxOut;
extern const CLSID kGfxOut;
extern const CLSID kLfxIn;
extern const CLSID kGfxIn;

}  // namespace class_id

// In the section RT_CONST.
namespace interface_id {

extern const IID kLfxOut;
extern const IID kGfxOut;
extern const IID kLfxIn;
extern const IID kGfxIn;

}  // namespace interface_id

namespace effect_id {

extern const GUID kLfxOut;
extern const GUID kGfxOut;
extern const GUID kLfxIn;
extern const GUID kGfxIn;

}  // namespace effect_id

}  // namespace quorvel
