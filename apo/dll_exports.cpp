#include "apo/dll_exports.h"

#include "apo/apo_dll_module.h"

using quorvel::APODllModule;

HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
    return APODllModule::GetClassObject(rclsid, riid, ppv);
}

HRESULT STDMETHODCALLTYPE DllCanUnloadNow() {
    return APODllModule::CanUnloadNow();
}

HRESULT STDMETHODCALLTYPE DllRegisterServer() {
    return APODllModule::RegisterServer();
}

HRESULT STDMETHODCALLTYPE DllUnregisterServer() {
    return APODllModule::UnregisterServer();
}
