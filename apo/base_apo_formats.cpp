// Negotiating formats, locking and unlocking.
#include <algorithm>
#include <exception>
#include <mutex>

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
    if (SUCCEEDED(result) && !isGraphPrepared) {
        const WAVEFORMATEX* const outputWave = output.pFormat->GetAudioFormat();
        NotifyStreamFormat(StreamFormat(), outputWave);
        isGraphPrepared = true;
        result = PrepareForProcess(input.pFormat->GetAudioFormat(), outputWave);
    }
    if (FAILED(result)) UnlockForProcess();
    return result;
}

HRESULT BaseAPO::PrepareForProcess(const WAVEFORMATEX* input, const WAVEFORMATEX* output) try {
    lastActiveChannels = 0;
    BuildLockedGraph(input, output);
    const bool isReporting = !channelReporter || channelReporter->Start() == ERROR_SUCCESS;
    return isReporting ? S_OK : E_OUTOFMEMORY;
} catch (const std::exception&) {  // a size that no memory holds is one too
    return E_OUTOFMEMORY;
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

// What the driver is told of the input. The driver reads the channel count in the field of the
// valid bits.
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

// Nothing of an earlier lock stays in the graph, its formats and buffers included. The events
// thread may be editing it. Throws std::bad_alloc.
void BaseAPO::BuildLockedGraph(const WAVEFORMATEX* input, const WAVEFORMATEX* output) {
    const std::lock_guard profileGuard(profileLock);
    const std::lock_guard processGuard(processLock);
    graph.Clear(true);
    graph.ChangeWhole([&] {
        BuildGraphFromProfile();
        graph.SetFormats(input, output);
    });
    isProfilePending = false;
}

HRESULT BaseAPO::UnlockForProcess() {
    if (channelReporter) channelReporter->Stop();
    if (isGraphPrepared) NotifyStreamUnlocked();
    isGraphPrepared = false;
    return CBaseAudioProcessingObject::UnlockForProcess();
}

void BaseAPO::BuildGraphFromProfile() {
    BuildGraphFromChain(graph, profile.GetChain(GetChainId(), false));
}

DWORD BaseAPO::NotifyStreamFormat(const WAVEFORMATEXTENSIBLE&, const WAVEFORMATEX*) {
    return ERROR_SUCCESS;
}

DWORD BaseAPO::NotifyStreamUnlocked() {
    return ERROR_SUCCESS;
}

}  // namespace quorvel
