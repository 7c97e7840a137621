// The part of an audio processing object (APO) that follows from its registration alone: locking,
// checking of connections, negotiation of formats.
#pragma once

#include "platform/apo_interfaces.h"
#include "platform/critical_section.h"

namespace quorvel {

// Threads: the engine calls LockForProcess, UnlockForProcess, Initialize and the format queries on
// control threads, one at a time and never while the object processes; the base lock orders the
// first two among each other. Records from the engine are trusted as far as the checks below go.
class CBaseAudioProcessingObject : public IAudioProcessingObject,
                                   public IAudioProcessingObjectRT,
                                   public IAudioProcessingObjectConfiguration {
  public:
    // `properties` is what the class is registered with; it must outlive the object.
    explicit CBaseAudioProcessingObject(const APO_REG_PROPERTIES& properties)
        : registration(&properties) {}
    CBaseAudioProcessingObject(const CBaseAudioProcessingObject&) = delete;
    CBaseAudioProcessingObject& operator=(const CBaseAudioProcessingObject&) = delete;

    // --- IAudioProcessingObject ---
    // Does nothing.
    HRESULT STDMETHODCALLTYPE Reset() override;

    // 0, in units of 100 ns. E_POINTER.
    HRESULT STDMETHODCALLTYPE GetLatency(HNSTIME* pTime) override;

    // A copy of the registration record, to be released with CoTaskMemFree. E_POINTER,
    // E_OUTOFMEMORY.
    HRESULT STDMETHODCALLTYPE GetRegistrationProperties(APO_REG_PROPERTIES** ppRegProps) override;

    // E_POINTER for data of no bytes, E_INVALIDARG for bytes without data,
    // APOERR_ALREADY_INITIALIZED.
    HRESULT STDMETHODCALLTYPE Initialize(UINT32 cbDataSize, BYTE* pbyData) override;

    // S_OK and the requested format itself, or S_FALSE and the nearest that goes with the opposite
    // one; null stands for no opposite format. With an opposite format that is no default format
    // the answer is S_FALSE and null. E_POINTER, and what the formats or their making fail with.
    HRESULT STDMETHODCALLTYPE
    IsInputFormatSupported(IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedInputFormat,
                           IAudioMediaType** ppSupportedInputFormat) override;
    HRESULT STDMETHODCALLTYPE IsOutputFormatSupported(
        IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedOutputFormat,
        IAudioMediaType** ppSupportedOutputFormat) override;

    // The samples per frame that the lock cached: 0 where the registration does not demand that
    // they match. APOERR_NOT_INITIALIZED, E_POINTER.
    HRESULT STDMETHODCALLTYPE GetInputChannelCount(UINT32* pu32ChannelCount) override;

    virtual ~CBaseAudioProcessingObject() = default;

    // The last check of a lock, for derived classes. S_OK here.
    virtual HRESULT ValidateAndCacheConnectionInfo(UINT32 u32NumInputConnections,
                                                   APO_CONNECTION_DESCRIPTOR** ppInputConnections,
                                                   UINT32 u32NumOutputConnections,
                                                   APO_CONNECTION_DESCRIPTOR** ppOutputConnections);

    // Makes `format` one that objects process: 32-bit float, 1 to 4096 samples per frame, 10 to
    // 384000 frames per second. The mask stays. Whether anything changed.
    virtual bool ValidateDefaultAPOFormat(UNCOMPRESSEDAUDIOFORMAT& format);

    // --- IAudioProcessingObjectRT ---
    // As many frames come out as go in.
    UINT32 STDMETHODCALLTYPE CalcInputFrames(UINT32 u32OutputFrameCount) override;
    UINT32 STDMETHODCALLTYPE CalcOutputFrames(UINT32 u32InputFrameCount) override;

    // --- IAudioProcessingObjectConfiguration ---
    //   APOERR_APO_LOCKED                    locked already
    //   E_POINTER                            an array, a connection or a format is missing
    //   APOERR_NUM_CONNECTIONS_INVALID       counts outside the registered ones
    //   APOERR_FORMAT_NOT_SUPPORTED          a pair of formats that the queries do not take as it
    //   is E_INVALIDARG                         a connection without its signature
    //   APOERR_INVALID_CONNECTION_FORMAT     a format unlike the first
    //   APOERR_INVALID_OUTPUT_MAXFRAMECOUNT  more frames go in than fit the output
    //   APOERR_BUFFERS_OVERLAP               they do, and the object does not work in place
    HRESULT STDMETHODCALLTYPE LockForProcess(
        UINT32 u32NumInputConnections, APO_CONNECTION_DESCRIPTOR** ppInputConnections,
        UINT32 u32NumOutputConnections, APO_CONNECTION_DESCRIPTOR** ppOutputConnections) override;

    // APOERR_ALREADY_UNLOCKED.
    HRESULT STDMETHODCALLTYPE UnlockForProcess() override;

  protected:
    bool isLocked = false;
    bool isInitialized = false;
    const APO_REG_PROPERTIES* const registration;
    platform::CriticalSection baseLock;

    // Of the first connection, as far as the registration demands that they match; else 0.
    UINT32 cachedSamplesPerFrame = 0;
    UINT32 cachedBytesPerSampleContainer = 0;
    UINT32 cachedValidBitsPerSample = 0;
    FLOAT cachedFramesPerSecond = 0.0f;  // Hz

  private:
    struct Connections;

    bool Demands(APO_FLAG flag) const { return (registration->Flags & flag) != 0; }
    HRESULT IsFormatSupportedCore(IAudioMediaType* opposite, IAudioMediaType* requested,
                                  IAudioMediaType** supported);
    bool MatchFormat(const UNCOMPRESSEDAUDIOFORMAT& opposite,
                     UNCOMPRESSEDAUDIOFORMAT& format) const;

    HRESULT ValidateConnections(const Connections& connections);
    HRESULT CacheFormat(IAudioMediaType& format);
    HRESULT ValidatePairs(const Connections& connections);
    HRESULT ValidateConnection(const APO_CONNECTION_DESCRIPTOR& connection) const;
    HRESULT ValidateBuffers(const Connections& connections) const;
};

}  // namespace quorvel
