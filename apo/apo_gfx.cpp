#include "apo/apo_gfx.h"

#include <mutex>
#include <utility>

namespace quorvel {

const GUID kEndpointProfileId = {
    0x548DB709, 0x3562, 0x4D11, {0xBB, 0xE5, 0x71, 0x25, 0x1C, 0xD1, 0x40, 0x53}};

HRESULT APOGFX::Initialize(UINT32 cbDataSize, BYTE* pbyData) {
    const HRESULT result = BaseAPO::Initialize(cbDataSize, pbyData);
    if (FAILED(result)) return result;
    for (int fetches = 1; !FetchEndpointProfile(fetches == kMostFetches);)
        ++fetches;
    return result;
}

// False when it has to be done again: events came that may be newer than what was fetched, and
// which passed by as long as the object had no profile. The last time they have to wait.
bool APOGFX::FetchEndpointProfile(bool isLast) {
    std::unique_lock lock(profileLock);
    const std::uint32_t before = driverEventCount;
    if (!isLast) lock.unlock();
    QuorvelAudioProfile fetched;
    fetched.id = kEndpointProfileId;
    const bool isFound = device->GetProfileData(&fetched) == ERROR_SUCCESS;
    if (!isLast) lock.lock();
    if (driverEventCount != before) return false;
    if (isFound) profile = std::move(fetched);
    return true;
}

}  // namespace quorvel
