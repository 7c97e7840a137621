// Identities for new profiles and blocks.
#pragma once

#include "platform/windows_api.h"

namespace quorvel {

// Makes a fresh GUID; one that is unique on this machine only will do. False, and `out` is
// untouched, when the system gives none.
inline bool MakeFreshGuid(GUID& out) {
    GUID fresh{};
    const RPC_STATUS status = UuidCreate(&fresh);
    if (status != RPC_S_OK && status != RPC_S_UUID_LOCAL_ONLY) return false;
    out = fresh;
    return true;
}

}  // namespace quorvel
