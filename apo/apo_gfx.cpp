#include "apo/apo_gfx.h"

#include <mutex>

namespace quorvel {

const GUID kEndpointProfileId = {
    0x548DB709, 0x3562, 0x4D11, {0xBB, 0xE5, 0x71, 0x25, 0x1C, 0xD1, 0x40, 0x53}};

HRESULT APOGFX::Initialize(UINT32 cbDataSize, BYTE* pbyData) {
    const HRESULT result = BaseAPO::Initialize(cbDataSize, pbyData);
    if (FAILED(result)) return result;
    QuorvelAudioProfile fetched;
    fetched.id = kEndpointProfileId;
    if (device->GetProfileData(&fetched) != ERROR_SUCCESS) return result;
    const std::lock_guard lock(profileLock);
    profile = fetched;
    return result;
}

}  // namespace quorvel
