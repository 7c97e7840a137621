// The real-time thread's part.
#include <algorithm>
#include <mutex>

#include "apo/base_apo.h"
#include "platform/code_sections.h"

namespace quorvel {
namespace {

// The mask assumed when a lock has left the stream without one. For some counts it is not the mask
// that a lock prefers.
std::uint32_t MaskOfUnmaskedStream(std::uint32_t channels) {
    constexpr std::uint32_t kMasks[] = {0, 0x4, 0x3, 0xB, 0x33, 0x3B, 0x3F, 0x70F, 0xFF};
    return channels < std::size(kMasks) ? kMasks[channels] : 0;
}

float* Samples(const APO_CONNECTION_PROPERTY& connection) {
    return reinterpret_cast<float*>(connection.pBuffer);
}

void PassOn(const APO_CONNECTION_PROPERTY& input, APO_CONNECTION_PROPERTY& output) {
    output.u32ValidFrameCount = input.u32ValidFrameCount;
    output.u32BufferFlags = input.u32BufferFlags;
}

}  // namespace

QUORVEL_RT_CODE void BaseAPO::APOProcess(
    UINT32 u32NumInputConnections, APO_CONNECTION_PROPERTY** ppInputConnections,
    UINT32 u32NumOutputConnections,
    APO_CONNECTION_PROPERTY** ppOutputConnections) QUORVEL_REAL_TIME {
    if (u32NumInputConnections == 0) return;
    const APO_CONNECTION_PROPERTY& input = *ppInputConnections[0];
    switch (input.u32BufferFlags) {
        case BUFFER_VALID:
            return ProcessValid(input, u32NumOutputConnections, ppOutputConnections);
        case BUFFER_SILENT:
            return ProcessSilent(input, u32NumOutputConnections, ppOutputConnections);
        default:
            return;
    }
}

QUORVEL_RT_CODE void BaseAPO::ProcessValid(const APO_CONNECTION_PROPERTY& input, UINT32 outputs,
                                           APO_CONNECTION_PROPERTY** outputConnections)
    QUORVEL_REAL_TIME {
    if (outputs == 0) return;
    if (inputFormat.dwChannelMask == 0)
        inputFormat.dwChannelMask = MaskOfUnmaskedStream(inputChannelCount);
    APO_CONNECTION_PROPERTY& output = *outputConnections[0];
    const UINT32 frames = input.u32ValidFrameCount;

    std::uint32_t active = 0;
    {
        const std::lock_guard lock(processLock);
        active = guard.Process(graph, Samples(input), Samples(output),
                               static_cast<std::int32_t>(frames));
    }
    if (active == 0) std::fill_n(Samples(output), std::size_t{frames} * outputChannelCount, 0.0f);
    PassOn(input, output);
    FollowActiveChannels(active);
}

// The lock keeps the reset apart from an edit of the same block.
QUORVEL_RT_CODE void BaseAPO::ProcessSilent(const APO_CONNECTION_PROPERTY& input, UINT32 outputs,
                                            APO_CONNECTION_PROPERTY** outputConnections)
    QUORVEL_REAL_TIME {
    {
        const std::lock_guard lock(processLock);
        graph.Reset();
        guard.PassBy(static_cast<std::int32_t>(input.u32ValidFrameCount));
    }
    if (outputs > 0) PassOn(input, *outputConnections[0]);
    FollowActiveChannels(0);
}

// Compared here and not in the graph, which does not hear of silent buffers: channels that resume
// behind them are a change.
QUORVEL_RT_CODE void BaseAPO::FollowActiveChannels(UINT32 mask) QUORVEL_REAL_TIME {
    if (mask == lastActiveChannels) return;
    lastActiveChannels = mask;
    if (channelReporter) channelReporter->Add(mask);
}

DWORD BaseAPO::NotifyActiveChannels(DWORD) {
    return ERROR_SUCCESS;
}

}  // namespace quorvel
