// The class object of one of this module's classes.
#pragma once

#include "apo/com_object.h"
#include "platform/windows_api.h"

namespace quorvel {

using CreateObject = HRESULT (*)(IUnknown* outer, REFIID iid, void** object) noexcept;

// Makes the class factory that calls `create`, and asks it for `iid`. The factory keeps the module
// loaded. E_POINTER, E_OUTOFMEMORY, E_NOINTERFACE.
HRESULT CreateClassFactory(CreateObject create, REFIID iid, void** object);

}  // namespace quorvel
