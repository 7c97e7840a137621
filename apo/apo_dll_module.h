// The module: what it offers to COM and to the audio engine, and how it registers itself.
#pragma once

#include "platform/windows_api.h"

namespace quorvel {

// Has no state of its own: reasons to stay loaded are counted by ModuleLock, the registry holds the
// rest. Any thread may call; registering and unregistering at the same time is the caller's fault.
class APODllModule {
  public:
    // The class factory of one of the four classes. CLASS_E_CLASSNOTAVAILABLE, E_POINTER,
    // E_OUTOFMEMORY, E_NOINTERFACE.
    static HRESULT GetClassObject(REFCLSID classId, REFIID iid, void** object);

    // S_FALSE while there are objects, factories or locks.
    static HRESULT CanUnloadNow();

    // The engine's registration of each class, then COM's: class keys and type library. After a
    // failure the engine's registrations are taken back. E_OUTOFMEMORY, registry errors as HRESULT.
    static HRESULT RegisterServer();

    // The class keys first; a failure there ends it. Then the type library, whose failure is the
    // result, and the engine's four registrations, whatever the type library said. Of the four the
    // last result counts: ERROR_FILE_NOT_FOUND as an HRESULT when nothing was registered.
    static HRESULT UnregisterServer();
};

}  // namespace quorvel
