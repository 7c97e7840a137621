// Negotiating formats, locking and unlocking.
#include <algorithm>
#include <mutex>
#include <new>

#include "apo/audio_media_type.h"
#include "apo/base_apo.h"
#include "apo/channel_mask_table.h"
#include "engine/graph_from_chain.h"

namespace quorvel {

HRESULT BaseAPO::IsInputFormatSupported(IAudioMediaType* pOppositeFormat,
                                        IAudioMediaType* pRequestedInputFormat,
                                        IAudioMediaType** ppSupportedInputFormat) {
    if (!pRequestedInputFormat || !ppSupportedInputFormat) return E_POINTER;
    *ppSupportedInputFormat = nullptr;
    UNCOMPRESSEDAUDIOFORMAT format{};
    HRESULT result = pRequestedInputFormat->GetUncompressedAudioFormat(&format);
    if (FAILED(result)) return result;
    bool isChanged = ValidateDefaultAPOFormat(format);

    if (pOppositeFormat) {
        UNCOMPRESSEDAUDIOFORMAT opposite{};
        result = pOppositeFormat->GetUncompressedAudioFormat(&opposite);
        if (FAILED(result)) return result;
        if (ValidateDefaultAPOFormat(opposite)) return APOERR_FORMAT_NOT_SUPPORTED;
        if (format.fFramesPerSecond != opposite.fFramesPerSecond) {
            format.fFramesPerSecond = opposite.fFramesPerSecond;
            isChanged = true;
        }
        const auto masks = AcceptedChannelMasks(format.dwSamplesPerFrame);
        if (masks.empty()) return APOERR_FORMAT_NOT_SUPPORTED;
        if (format.dwChannelMask != 0 && std::ranges::count(masks, format.dwChannelMask) == 0) {
            format.dwChannelMask = masks.front();
            isChanged = true;
        }
    }
    return AnswerFormatQuery(pRequestedInputFormat, isChanged, format, ppSupportedInputFormat);
}

HRESULT BaseAPO::LockForProcess(UINT32 u32NumInputConnections,
                                APO_CONNECTION_DESCRIPTOR** ppInputConnections,
                                UINT32 u32NumOutputConnections,
                                APO_CONNECTION_DESCRIPTOR** ppOutputConnections) {
    HRESULT result = CBaseAudioProcessingObject::LockForProcess(
        u32NumInputConnections, ppInputConnections, u32NumOutputConnections, ppOutputConnections);
    if (FAILED(result)) return result;
    const APO_CONNECTION_DESCRIPTOR& input = *ppInputConnections[0];
    const APO_CONNECTION_DESCRIPTOR& output = *ppOutputConnections[0];
    result = ReadFormats(input, output);
    if (FAILED(result)) return result;
    if (isGraphPrepared) return result;

    const WAVEFORMATEX* const outputWave = output.pFormat->GetAudioFormat();
    NotifyStreamFormat(StreamFormat(), outputWave);
    isGraphPrepared = true;
    const HRESULT built = BuildLockedGraph(input.pFormat->GetAudioFormat(), outputWave);
    if (FAILED(built)) {
        UnlockForProcess();
        return built;
    }
    return result;
}

HRESULT BaseAPO::ReadFormats(const APO_CONNECTION_DESCRIPTOR& input,
                             const APO_CONNECTION_DESCRIPTOR& output) {
    HRESULT result = input.pFormat->GetUncompressedAudioFormat(&inputFormat);
    if (FAILED(result)) return result;
    result = output.pFormat->GetUncompressedAudioFormat(&outputFormat);
    if (FAILED(result)) return result;

    inputChannelCount = inputFormat.dwSamplesPerFrame;
    outputChannelCount = outputFormat.dwSamplesPerFrame;
    const auto masks = AcceptedChannelMasks(inputChannelCount);
    if (inputFormat.dwChannelMask == 0 && !masks.empty()) inputFormat.dwChannelMask = masks.front();
    return result;
}

// What the driver is told of the input. Its valid bits are the channel count: drivers in the field
// know the record like that.
WAVEFORMATEXTENSIBLE BaseAPO::StreamFormat() const {
    const auto channels = static_cast<WORD>(inputFormat.dwSamplesPerFrame);
    const auto bits = static_cast<WORD>(inputFormat.dwValidBitsPerSample);
    WAVEFORMATEXTENSIBLE format{};
    format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    format.Format.nChannels = channels;
    format.Format.nSamplesPerSec = static_cast<DWORD>(inputFormat.fFramesPerSecond);
    format.Format.wBitsPerSample = bits;
    format.Format.nBlockAlign = static_cast<WORD>(channels * bits / 8);
    format.Format.nAvgBytesPerSec = format.Format.nBlockAlign * format.Format.nSamplesPerSec;
    format.Format.cbSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
    format.Samples.wValidBitsPerSample = channels;
    format.dwChannelMask = inputFormat.dwChannelMask;
    format.SubFormat = inputFormat.guidFormatType;
    return format;
}

// The events thread may be editing the graph.
HRESULT BaseAPO::BuildLockedGraph(const WAVEFORMATEX* input, const WAVEFORMATEX* output) try {
    const std::lock_guard profileGuard(profileLock);
    const std::lock_guard processGuard(processLock);
    BuildGraphFromProfile();
    graph.SetFormats(input, output);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT BaseAPO::UnlockForProcess() {
    if (isGraphPrepared) NotifyStreamUnlocked();
    isGraphPrepared = false;
    return CBaseAudioProcessingObject::UnlockForProcess();
}

// Without memory the graph is left empty, and passes its input through.
void BaseAPO::BuildGraphFromProfile() noexcept {
    isProfilePending = false;
    try {
        BuildGraphFromChain(graph, profile.GetChain(GetChainId(), false));
    } catch (const std::bad_alloc&) {
        BuildGraphFromChain(graph, nullptr);
    }
}

void BaseAPO::RebuildGraph() noexcept {
    const std::lock_guard profileGuard(profileLock);
    const std::lock_guard processGuard(processLock);
    BuildGraphFromProfile();
}

DWORD BaseAPO::NotifyStreamFormat(const WAVEFORMATEXTENSIBLE&, const WAVEFORMATEX*) {
    return ERROR_SUCCESS;
}

DWORD BaseAPO::NotifyStreamUnlocked() {
    return ERROR_SUCCESS;
}

}  // namespace quorvel
