// Audio endpoints and their properties, as the multimedia device interfaces of Windows declare
// them. platform/simulation/ answers behind them.
#pragma once

#include "platform/portable/com/com.h"

struct PROPERTYKEY {
    GUID fmtid;
    DWORD pid;
};
using REFPROPERTYKEY = const PROPERTYKEY&;

inline constexpr WORD VT_EMPTY = 0;
inline constexpr WORD VT_LPWSTR = 31;

// A value of a property; only texts and nothing are used here. A text belongs to the value and was
// allocated with CoTaskMemAlloc.
struct PROPVARIANT {
    WORD vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LPWSTR pwszVal;
        UINT64 uhVal;
    };
};
using REFPROPVARIANT = const PROPVARIANT&;

inline void PropVariantInit(PROPVARIANT* value) {
    *value = PROPVARIANT{};
}

// Releases what the value holds and makes it empty.
HRESULT PropVariantClear(PROPVARIANT* value);

// Copies a text, with its terminating zero, into `text` of `count` units; an empty value is an
// empty text. HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER) when it was cut off, E_INVALIDARG for
// other kinds of value.
HRESULT PropVariantToString(REFPROPVARIANT value, PWSTR text, UINT count);

inline constexpr DWORD STGM_READ = 0;

struct IPropertyStore : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) = 0;
    // S_OK with an empty value for a property that is not there.
    virtual HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY key, REFPROPVARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit() = 0;

  protected:
    ~IPropertyStore() = default;
};

struct IMMDevice : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD context, PROPVARIANT* parameters,
                                               void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetState(DWORD* state) = 0;

  protected:
    ~IMMDevice() = default;
};

struct IMMDeviceCollection : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) = 0;

  protected:
    ~IMMDeviceCollection() = default;
};

enum EDataFlow { eRender, eCapture, eAll };
enum ERole { eConsole, eMultimedia, eCommunications };

struct IMMNotificationClient : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR id, DWORD state) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role,
                                                             LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR id, const PROPERTYKEY key) = 0;

  protected:
    ~IMMNotificationClient() = default;
};

struct IMMDeviceEnumerator : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD states,
                                                         IMMDeviceCollection** devices) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                              IMMDevice** device) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;

  protected:
    ~IMMDeviceEnumerator() = default;
};
