// The four functions that the library exports for COM and installers. Any thread may call them.
#pragma once

#include "platform/windows_api.h"

extern "C" {

HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv);
HRESULT STDMETHODCALLTYPE DllCanUnloadNow();
HRESULT STDMETHODCALLTYPE DllRegisterServer();
HRESULT STDMETHODCALLTYPE DllUnregisterServer();
}
