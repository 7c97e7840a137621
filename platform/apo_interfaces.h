// The audio engine's side of an audio processing object (APO): its interfaces, records, flags and
// error codes, for both sides, because the headers of Windows' development kits are not everywhere
// complete. Identifiers are in platform/interface_ids.h.
//
// Sizes are those of the process: the comments give those of a 32-bit one.
#pragma once

#include <cstddef>

#include "platform/windows_api.h"

// --- Error codes ---
inline constexpr HRESULT APOERR_ALREADY_INITIALIZED = static_cast<HRESULT>(0x887D0001);
inline constexpr HRESULT APOERR_NOT_INITIALIZED = static_cast<HRESULT>(0x887D0002);
inline constexpr HRESULT APOERR_FORMAT_NOT_SUPPORTED = static_cast<HRESULT>(0x887D0003);
inline constexpr HRESULT APOERR_BUFFERS_OVERLAP = static_cast<HRESULT>(0x887D0005);
inline constexpr HRESULT APOERR_ALREADY_UNLOCKED = static_cast<HRESULT>(0x887D0006);
inline constexpr HRESULT APOERR_NUM_CONNECTIONS_INVALID = static_cast<HRESULT>(0x887D0007);
inline constexpr HRESULT APOERR_INVALID_OUTPUT_MAXFRAMECOUNT = static_cast<HRESULT>(0x887D0008);
inline constexpr HRESULT APOERR_INVALID_CONNECTION_FORMAT = static_cast<HRESULT>(0x887D0009);
inline constexpr HRESULT APOERR_APO_LOCKED = static_cast<HRESULT>(0x887D000A);

// --- Records ---
enum APO_FLAG : UINT32 {
    APO_FLAG_NONE = 0,
    APO_FLAG_INPLACE = 0x1,
    APO_FLAG_SAMPLESPERFRAME_MUST_MATCH = 0x2,
    APO_FLAG_FRAMESPERSECOND_MUST_MATCH = 0x4,
    APO_FLAG_BITSPERSAMPLE_MUST_MATCH = 0x8,
};

// What an object says of itself when it is registered. 1092 bytes with one interface.
struct APO_REG_PROPERTIES {
    CLSID clsid;
    APO_FLAG Flags;
    WCHAR szFriendlyName[256];
    WCHAR szCopyrightInfo[256];
    UINT32 u32MajorVersion;
    UINT32 u32MinorVersion;
    UINT32 u32MinInputConnections;
    UINT32 u32MaxInputConnections;
    UINT32 u32MinOutputConnections;
    UINT32 u32MaxOutputConnections;
    UINT32 u32MaxInstances;
    UINT32 u32NumAPOInterfaces;
    IID iidAPOInterfaceList[1];  // u32NumAPOInterfaces of them
};
static_assert(sizeof(APO_REG_PROPERTIES) == 1092);

struct UNCOMPRESSEDAUDIOFORMAT {
    GUID guidFormatType;  // a KSDATAFORMAT_SUBTYPE
    DWORD dwSamplesPerFrame;
    DWORD dwBytesPerSampleContainer;
    DWORD dwValidBitsPerSample;
    FLOAT fFramesPerSecond;  // Hz
    DWORD dwChannelMask;     // SPEAKER_ bits
};
static_assert(sizeof(UNCOMPRESSEDAUDIOFORMAT) == 36);

struct APOInitBaseStruct {
    UINT32 cbSize;  // bytes of the whole record
    CLSID clsid;
};

// The two records that Initialize may be given: 36 and 64 bytes.
struct APOInitSystemEffects {
    APOInitBaseStruct APOInit;
    IPropertyStore* pAPOEndpointProperties;
    IPropertyStore* pAPOSystemEffectsProperties;
    void* pReserved;
    IMMDeviceCollection* pDeviceCollection;
};

struct APOInitSystemEffects2 {
    APOInitBaseStruct APOInit;
    IPropertyStore* pAPOEndpointProperties;
    IPropertyStore* pAPOSystemEffectsProperties;
    void* pReserved;
    IMMDeviceCollection* pDeviceCollection;
    UINT nSoftwareIoDeviceInCollection;
    UINT nSoftwareIoConnectorIndex;
    GUID AudioProcessingMode;
    BOOL InitializeForDiscoveryOnly;
};

static_assert(sizeof(void*) != 4 || sizeof(APOInitSystemEffects) == 36);
static_assert(sizeof(void*) != 4 || sizeof(APOInitSystemEffects2) == 64);
static_assert(offsetof(APOInitSystemEffects, pDeviceCollection) ==
              offsetof(APOInitSystemEffects2, pDeviceCollection));

struct IAudioMediaType;

enum APO_CONNECTION_BUFFER_TYPE {
    APO_CONNECTION_BUFFER_TYPE_ALLOCATED = 0,
    APO_CONNECTION_BUFFER_TYPE_EXTERNAL = 1,
    APO_CONNECTION_BUFFER_TYPE_DEPENDANT = 2,
};

inline constexpr UINT32 APO_CONNECTION_DESCRIPTOR_SIGNATURE = 0x41434453;
inline constexpr UINT32 APO_CONNECTION_PROPERTY_SIGNATURE = 0x41435053;

// A connection while it is locked. 20 bytes.
struct APO_CONNECTION_DESCRIPTOR {
    APO_CONNECTION_BUFFER_TYPE Type;
    UINT_PTR pBuffer;
    UINT32 u32MaxFrameCount;
    IAudioMediaType* pFormat;
    UINT32 u32Signature;  // APO_CONNECTION_DESCRIPTOR_SIGNATURE
};
static_assert(sizeof(void*) != 4 || sizeof(APO_CONNECTION_DESCRIPTOR) == 20);
static_assert(sizeof(void*) != 4 || sizeof(APO_CONNECTION_PROPERTY) == 16);

// --- Interfaces ---
struct IAudioMediaType : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE IsCompressedFormat(BOOL* compressed) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsEqual(IAudioMediaType* other, DWORD* flags) = 0;
    // Valid as long as the object.
    virtual const WAVEFORMATEX* STDMETHODCALLTYPE GetAudioFormat() = 0;
    virtual HRESULT STDMETHODCALLTYPE
    GetUncompressedAudioFormat(UNCOMPRESSEDAUDIOFORMAT* format) = 0;

  protected:
    ~IAudioMediaType() = default;
};

struct IAudioProcessingObject : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLatency(HNSTIME* pTime) = 0;  // units of 100 ns
    virtual HRESULT STDMETHODCALLTYPE
    GetRegistrationProperties(APO_REG_PROPERTIES** ppRegProps) = 0;
    virtual HRESULT STDMETHODCALLTYPE Initialize(UINT32 cbDataSize, BYTE* pbyData) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    IsInputFormatSupported(IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedInputFormat,
                           IAudioMediaType** ppSupportedInputFormat) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsOutputFormatSupported(
        IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedOutputFormat,
        IAudioMediaType** ppSupportedOutputFormat) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputChannelCount(UINT32* pu32ChannelCount) = 0;

  protected:
    ~IAudioProcessingObject() = default;
};

struct IAudioProcessingObjectRT : IUnknown {
    virtual void STDMETHODCALLTYPE APOProcess(UINT32 u32NumInputConnections,
                                              APO_CONNECTION_PROPERTY** ppInputConnections,
                                              UINT32 u32NumOutputConnections,
                                              APO_CONNECTION_PROPERTY** ppOutputConnections) = 0;
    virtual UINT32 STDMETHODCALLTYPE CalcInputFrames(UINT32 u32OutputFrameCount) = 0;
    virtual UINT32 STDMETHODCALLTYPE CalcOutputFrames(UINT32 u32InputFrameCount) = 0;

  protected:
    ~IAudioProcessingObjectRT() = default;
};

struct IAudioProcessingObjectConfiguration : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE LockForProcess(
        UINT32 u32NumInputConnections, APO_CONNECTION_DESCRIPTOR** ppInputConnections,
        UINT32 u32NumOutputConnections, APO_CONNECTION_DESCRIPTOR** ppOutputConnections) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockForProcess() = 0;

  protected:
    ~IAudioProcessingObjectConfiguration() = default;
};

struct IAudioSystemEffects : IUnknown {
  protected:
    ~IAudioSystemEffects() = default;
};

struct IAudioSystemEffects2 : IAudioSystemEffects {
    virtual HRESULT STDMETHODCALLTYPE GetEffectsList(LPGUID* ppEffectsIds, UINT* pcEffects,
                                                     HANDLE Event) = 0;

  protected:
    ~IAudioSystemEffects2() = default;
};
