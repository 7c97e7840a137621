// Endpoint objects: the mixed sound of all programs, or that of the microphone.
#pragma once

#include "apo/base_apo.h"

namespace quorvel {

// The one profile that endpoint objects run.
extern const GUID kEndpointProfileId;

class APOGFX : public BaseAPO {
  public:
    using BaseAPO::BaseAPO;

    // What the base says; then fetches the endpoint profile. Without one the profile stays empty.
    HRESULT STDMETHODCALLTYPE Initialize(UINT32 cbDataSize, BYTE* pbyData) override;

  private:
    bool FetchEndpointProfile(bool isLast);
};

}  // namespace quorvel
