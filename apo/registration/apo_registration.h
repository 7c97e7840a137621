// The audio engine's own list of processing objects: a key for each class below
// HKEY_CLASSES_ROOT\AudioEngine\AudioProcessingObjects.
#pragma once

#include "platform/apo_interfaces.h"

namespace quorvel {

// Writes the class's key anew. E_POINTER; E_INVALIDARG for a text of more than 512 bytes with its
// terminator; a registry error as an HRESULT: what was written until then stays. Throws
// std::bad_alloc.
HRESULT RegisterAPO(const APO_REG_PROPERTIES* record);

// Deletes the class's key. A registry error as an HRESULT. Throws std::bad_alloc.
HRESULT UnregisterAPO(REFCLSID clsid);

}  // namespace quorvel
