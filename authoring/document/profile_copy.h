// A profile under another id.
#pragma once

#include "profile/quorvel_audio_profile.h"

namespace quorvel::tool {

// A copy whose blocks and links belong to `id` as well, unlike those of a copied profile that is
// given another id afterwards. The cookie is 0.
QuorvelAudioProfile CopyProfileAs(const GUID& id, QuorvelAudioProfile& source);

}  // namespace quorvel::tool
