#include "apo/base_audio_processing_object.h"

#include <cstring>
#include <mutex>
#include <span>

#include "apo/audio_media_type.h"
#include "apo/com_reference.h"
#include "engine/audio_format.h"

namespace quorvel {
namespace {

constexpr UINT32 kMostSamplesPerFrame = 4096;
constexpr FLOAT kLowestRate = 10.0f;       // Hz
constexpr FLOAT kHighestRate = 384000.0f;  // Hz
constexpr DWORD kContainerBytes = 4;
constexpr DWORD kSampleBits = 32;

// Gives `field` the value it must have; whether it had another.
template <typename Value>
bool Demand(Value& field, const Value& value) {
    if (field == value) return false;
    field = value;
    return true;
}

// The same for a value that has to lie between two others.
template <typename Value>
bool DemandRange(Value& field, Value least, Value most) {
    if (field < least) return Demand(field, least);
    return field > most && Demand(field, most);
}

bool HasNull(UINT32 count, APO_CONNECTION_DESCRIPTOR** connections) {
    return count > 0 && (!connections || !connections[0] || !connections[0]->pFormat);
}

// The whole of its buffer, as far as its format tells.
std::uint64_t BufferSize(const APO_CONNECTION_DESCRIPTOR& connection) {
    UNCOMPRESSEDAUDIOFORMAT format{};
    if (FAILED(connection.pFormat->GetUncompressedAudioFormat(&format))) return 0;
    return std::uint64_t{format.dwSamplesPerFrame} * format.dwBytesPerSampleContainer *
           connection.u32MaxFrameCount;
}

bool Overlap(const APO_CONNECTION_DESCRIPTOR& a, const APO_CONNECTION_DESCRIPTOR& b) {
    return a.pBuffer < b.pBuffer ? b.pBuffer - a.pBuffer < BufferSize(a)
                                 : a.pBuffer - b.pBuffer < BufferSize(b);
}

}  // namespace

struct CBaseAudioProcessingObject::Connections {
    std::span<APO_CONNECTION_DESCRIPTOR* const> inputs;
    std::span<APO_CONNECTION_DESCRIPTOR* const> outputs;

    const APO_CONNECTION_DESCRIPTOR* First() const {
        if (!inputs.empty()) return inputs.front();
        return outputs.empty() ? nullptr : outputs.front();
    }
};

HRESULT CBaseAudioProcessingObject::Reset() {
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::GetLatency(HNSTIME* pTime) {
    if (!pTime) return E_POINTER;
    *pTime = 0;
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::GetRegistrationProperties(APO_REG_PROPERTIES** ppRegProps) {
    if (!ppRegProps) return E_POINTER;
    const UINT32 interfaces = registration->u32NumAPOInterfaces;
    const std::size_t size =
        sizeof(APO_REG_PROPERTIES) + (interfaces > 1 ? interfaces - 1 : 0) * sizeof(IID);
    void* const copy = CoTaskMemAlloc(size);
    if (!copy) return E_OUTOFMEMORY;
    std::memcpy(copy, registration, size);
    *ppRegProps = static_cast<APO_REG_PROPERTIES*>(copy);
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::Initialize(UINT32 cbDataSize, BYTE* pbyData) {
    if (pbyData && cbDataSize == 0) return E_POINTER;
    if (!pbyData && cbDataSize != 0) return E_INVALIDARG;
    if (isInitialized) return APOERR_ALREADY_INITIALIZED;
    isInitialized = true;
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::IsInputFormatSupported(
    IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedInputFormat,
    IAudioMediaType** ppSupportedInputFormat) {
    return IsFormatSupportedCore(pOppositeFormat, pRequestedInputFormat, ppSupportedInputFormat);
}

HRESULT CBaseAudioProcessingObject::IsOutputFormatSupported(
    IAudioMediaType* pOppositeFormat, IAudioMediaType* pRequestedOutputFormat,
    IAudioMediaType** ppSupportedOutputFormat) {
    return IsFormatSupportedCore(pOppositeFormat, pRequestedOutputFormat, ppSupportedOutputFormat);
}

HRESULT CBaseAudioProcessingObject::IsFormatSupportedCore(IAudioMediaType* opposite,
                                                          IAudioMediaType* requested,
                                                          IAudioMediaType** supported) {
    if (!requested || !supported) return E_POINTER;
    *supported = nullptr;

    UNCOMPRESSEDAUDIOFORMAT oppositeFormat{};
    if (opposite) {
        const HRESULT result = opposite->GetUncompressedAudioFormat(&oppositeFormat);
        if (FAILED(result)) return result;
        if (ValidateDefaultAPOFormat(oppositeFormat)) return S_FALSE;
    }

    UNCOMPRESSEDAUDIOFORMAT format{};
    const HRESULT result = requested->GetUncompressedAudioFormat(&format);
    if (FAILED(result)) return result;
    bool isChanged = ValidateDefaultAPOFormat(format);
    if (opposite && MatchFormat(oppositeFormat, format)) isChanged = true;
    return AnswerFormatQuery(requested, isChanged, format, supported);
}

// Takes over from `opposite` what the registration demands to be equal; whether that changed
// anything. A rate that is no number is unlike any other.
bool CBaseAudioProcessingObject::MatchFormat(const UNCOMPRESSEDAUDIOFORMAT& opposite,
                                             UNCOMPRESSEDAUDIOFORMAT& format) const {
    bool isChanged = false;
    if (Demands(APO_FLAG_SAMPLESPERFRAME_MUST_MATCH)) {
        isChanged |= Demand(format.dwSamplesPerFrame, opposite.dwSamplesPerFrame);
        isChanged |= Demand(format.dwChannelMask, opposite.dwChannelMask);
    }
    if (Demands(APO_FLAG_BITSPERSAMPLE_MUST_MATCH)) {
        isChanged |= Demand(format.dwBytesPerSampleContainer, opposite.dwBytesPerSampleContainer);
        isChanged |= Demand(format.dwValidBitsPerSample, opposite.dwValidBitsPerSample);
    }
    if (Demands(APO_FLAG_FRAMESPERSECOND_MUST_MATCH))
        isChanged |= Demand(format.fFramesPerSecond, opposite.fFramesPerSecond);
    return isChanged;
}

HRESULT CBaseAudioProcessingObject::GetInputChannelCount(UINT32* pu32ChannelCount) {
    if (!isInitialized) return APOERR_NOT_INITIALIZED;
    if (!pu32ChannelCount) return E_POINTER;
    *pu32ChannelCount = cachedSamplesPerFrame;
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::ValidateAndCacheConnectionInfo(UINT32,
                                                                   APO_CONNECTION_DESCRIPTOR**,
                                                                   UINT32,
                                                                   APO_CONNECTION_DESCRIPTOR**) {
    return S_OK;
}

bool CBaseAudioProcessingObject::ValidateDefaultAPOFormat(UNCOMPRESSEDAUDIOFORMAT& format) {
    bool isChanged = Demand(format.guidFormatType, kIeeeFloatSubFormat);
    isChanged |= DemandRange(format.dwSamplesPerFrame, DWORD{1}, DWORD{kMostSamplesPerFrame});
    isChanged |= Demand(format.dwBytesPerSampleContainer, kContainerBytes);
    isChanged |= Demand(format.dwValidBitsPerSample, kSampleBits);
    isChanged |= DemandRange(format.fFramesPerSecond, kLowestRate, kHighestRate);
    return isChanged;
}

UINT32 CBaseAudioProcessingObject::CalcInputFrames(UINT32 u32OutputFrameCount) {
    return u32OutputFrameCount;
}

UINT32 CBaseAudioProcessingObject::CalcOutputFrames(UINT32 u32InputFrameCount) {
    return u32InputFrameCount;
}

HRESULT CBaseAudioProcessingObject::LockForProcess(
    UINT32 u32NumInputConnections, APO_CONNECTION_DESCRIPTOR** ppInputConnections,
    UINT32 u32NumOutputConnections, APO_CONNECTION_DESCRIPTOR** ppOutputConnections) {
    const std::lock_guard lock(baseLock);
    if (isLocked) return APOERR_APO_LOCKED;
    if (HasNull(u32NumInputConnections, ppInputConnections) ||
        HasNull(u32NumOutputConnections, ppOutputConnections))
        return E_POINTER;
    if (u32NumInputConnections < registration->u32MinInputConnections ||
        u32NumInputConnections > registration->u32MaxInputConnections ||
        u32NumOutputConnections < registration->u32MinOutputConnections ||
        u32NumOutputConnections > registration->u32MaxOutputConnections)
        return APOERR_NUM_CONNECTIONS_INVALID;

    HRESULT result = ValidateConnections({{ppInputConnections, u32NumInputConnections},
                                          {ppOutputConnections, u32NumOutputConnections}});
    if (FAILED(result)) return result;
    result = ValidateAndCacheConnectionInfo(u32NumInputConnections, ppInputConnections,
                                            u32NumOutputConnections, ppOutputConnections);
    if (FAILED(result)) return result;
    isLocked = true;
    return result;
}

HRESULT CBaseAudioProcessingObject::ValidateConnections(const Connections& connections) {
    HRESULT result = S_OK;
    if (const APO_CONNECTION_DESCRIPTOR* const first = connections.First())
        result = CacheFormat(*first->pFormat);
    if (SUCCEEDED(result)) result = ValidatePairs(connections);
    for (const auto& side : {connections.inputs, connections.outputs}) {
        for (const APO_CONNECTION_DESCRIPTOR* const connection : side)
            if (SUCCEEDED(result)) result = ValidateConnection(*connection);
    }
    return SUCCEEDED(result) ? ValidateBuffers(connections) : result;
}

HRESULT CBaseAudioProcessingObject::CacheFormat(IAudioMediaType& mediaType) {
    UNCOMPRESSEDAUDIOFORMAT format{};
    const HRESULT result = mediaType.GetUncompressedAudioFormat(&format);
    if (FAILED(result)) return result;
    if (Demands(APO_FLAG_SAMPLESPERFRAME_MUST_MATCH))
        cachedSamplesPerFrame = format.dwSamplesPerFrame;
    if (Demands(APO_FLAG_BITSPERSAMPLE_MUST_MATCH)) {
        cachedBytesPerSampleContainer = format.dwBytesPerSampleContainer;
        cachedValidBitsPerSample = format.dwValidBitsPerSample;
    }
    if (Demands(APO_FLAG_FRAMESPERSECOND_MUST_MATCH))
        cachedFramesPerSecond = format.fFramesPerSecond;
    return S_OK;
}

// Every output must take every input as it is, and the other way round.
HRESULT CBaseAudioProcessingObject::ValidatePairs(const Connections& connections) {
    for (const APO_CONNECTION_DESCRIPTOR* const input : connections.inputs) {
        for (const APO_CONNECTION_DESCRIPTOR* const output : connections.outputs) {
            if (!input || !output) return E_POINTER;
            ComReference<IAudioMediaType> supported;
            if (IsOutputFormatSupported(input->pFormat, output->pFormat, supported.Receive()) !=
                S_OK)
                return APOERR_FORMAT_NOT_SUPPORTED;
            if (IsInputFormatSupported(output->pFormat, input->pFormat, supported.Receive()) !=
                S_OK)
                return APOERR_FORMAT_NOT_SUPPORTED;
        }
    }
    return S_OK;
}

HRESULT CBaseAudioProcessingObject::ValidateConnection(
    const APO_CONNECTION_DESCRIPTOR& connection) const {
    if (connection.u32Signature != APO_CONNECTION_DESCRIPTOR_SIGNATURE) return E_INVALIDARG;
    if (!connection.pFormat) return E_POINTER;
    UNCOMPRESSEDAUDIOFORMAT format{};
    const HRESULT result = connection.pFormat->GetUncompressedAudioFormat(&format);
    if (FAILED(result)) return result;
    const bool isUnlike = (Demands(APO_FLAG_SAMPLESPERFRAME_MUST_MATCH) &&
                           format.dwSamplesPerFrame != cachedSamplesPerFrame) ||
                          (Demands(APO_FLAG_BITSPERSAMPLE_MUST_MATCH) &&
                           (format.dwBytesPerSampleContainer != cachedBytesPerSampleContainer ||
                            format.dwValidBitsPerSample != cachedValidBitsPerSample)) ||
                          (Demands(APO_FLAG_FRAMESPERSECOND_MUST_MATCH) &&
                           format.fFramesPerSecond != cachedFramesPerSecond);
    return isUnlike ? APOERR_INVALID_CONNECTION_FORMAT : S_OK;
}

HRESULT CBaseAudioProcessingObject::ValidateBuffers(const Connections& connections) const {
    if (connections.inputs.empty() || connections.outputs.empty()) return S_OK;
    const APO_CONNECTION_DESCRIPTOR& input = *connections.inputs.front();
    const APO_CONNECTION_DESCRIPTOR& output = *connections.outputs.front();
    if (Demands(APO_FLAG_FRAMESPERSECOND_MUST_MATCH) &&
        input.u32MaxFrameCount > output.u32MaxFrameCount)
        return APOERR_INVALID_OUTPUT_MAXFRAMECOUNT;
    if (Demands(APO_FLAG_INPLACE)) return S_OK;
    return Overlap(input, output) ? APOERR_BUFFERS_OVERLAP : S_OK;
}

HRESULT CBaseAudioProcessingObject::UnlockForProcess() {
    const std::lock_guard lock(baseLock);
    if (!isLocked) return APOERR_ALREADY_UNLOCKED;
    isLocked = false;
    return S_OK;
}

}  // namespace quorvel
