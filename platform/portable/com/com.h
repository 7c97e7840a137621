// The little of COM that this system needs: identity and lifetime of objects, their creation by
// class, and the threads' membership.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/portable/kernel/types.h"

using HRESULT = std::int32_t;

// The calling convention of interface methods; there is but one here.
#define STDMETHODCALLTYPE

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);

constexpr bool SUCCEEDED(HRESULT result) {
    return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

// A Win32 error code as an HRESULT: 0 and negative values stay as they are. A macro that evaluates
// its argument twice, as in some of the system's headers, so that a call in it does the same harm
// here. Calls go to platform::ResultFromError.
#define HRESULT_FROM_WIN32(error)      \
    (static_cast<HRESULT>(error) <= 0  \
         ? static_cast<HRESULT>(error) \
         : static_cast<HRESULT>((static_cast<DWORD>(error) & 0xFFFFu) | 0x80070000u))

// As everywhere in COM: any thread may call; QueryInterface and AddRef take a reference for the
// caller, Release gives it back and destroys the object with the last one. There is no virtual
// destructor: the layout of the table is linked against.
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

  protected:
    ~IUnknown() = default;
};

struct IClassFactory : IUnknown {
    // A new object; with an `outer` it is aggregated by it, and `iid` must be that of IUnknown.
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid,
                                                     void** object) = 0;
    // Holds the module in memory, or lets it go.
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;

  protected:
    ~IClassFactory() = default;
};

inline constexpr DWORD COINIT_MULTITHREADED = 0;
inline constexpr DWORD CLSCTX_ALL = 23;

// Joins the calling thread to the process's multithreaded apartment, the only one there is here.
// S_OK the first time, S_FALSE when the thread was in it already; each of both asks for one
// CoUninitialize. E_INVALIDARG, and nothing changes, for another `model` or a `reserved` that is
// not null. Any thread; nothing is allocated.
HRESULT CoInitializeEx(LPVOID reserved, DWORD model);

// Takes one CoInitializeEx of the calling thread back; nothing without one.
void CoUninitialize();

// Memory that one side allocates and the other releases; null when it cannot be had.
void* CoTaskMemAlloc(SIZE_T size);
void CoTaskMemFree(void* memory);

// The class object of a registered class, or an object of it, in this process: `context` is not
// looked at. REGDB_E_CLASSNOTREG for an unknown class, HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND) when
// its module is not there; what the class says else. See class_table.h.
HRESULT CoGetClassObject(REFCLSID classId, DWORD context, void* server, REFIID iid, void** object);
HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid,
                         void** object);

// Writes "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with its terminator and returns the units
// written; 0, and nothing is written, when `count` is below 39.
int StringFromGUID2(REFGUID guid, WCHAR* text, int count);

// The language of the calling thread, for texts of the system; neutral (0) at first.
DWORD GetThreadLocale();
BOOL SetThreadLocale(DWORD locale);
inline constexpr DWORD LOCALE_SYSTEM_DEFAULT = 0x800;
