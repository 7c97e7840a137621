#include "engine/audio_format.h"

#include <algorithm>
#include <cstring>

#include "base/channel_masks.h"

namespace quorvel {

AudioFormat MakeFloatFormat(uint16_t channels, uint32_t mask, uint32_t sampleRate) {
    constexpr uint16_t kBits = 32;
    AudioFormat format{};
    format.Format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    format.Format.nChannels = channels;
    format.Format.nSamplesPerSec = sampleRate;
    format.Format.nBlockAlign = static_cast<uint16_t>(channels * sizeof(float));
    format.Format.nAvgBytesPerSec = format.Format.nBlockAlign * sampleRate;
    format.Format.wBitsPerSample = kBits;
    format.Format.cbSize = sizeof(AudioFormat) - sizeof(WAVEFORMATEX);
    format.Samples.wValidBitsPerSample = kBits;
    format.dwChannelMask = mask;
    format.SubFormat = kIeeeFloatSubFormat;
    return format;
}

AudioFormat CopyFormat(const WAVEFORMATEX& format) {
    AudioFormat copy{};
    const std::size_t size =
        std::min<std::size_t>(format.cbSize + sizeof(WAVEFORMATEX), sizeof(AudioFormat));
    std::memcpy(&copy, &format, size);
    if (copy.dwChannelMask == 0) copy.dwChannelMask = DefaultChannelMask(copy.Format.nChannels);
    return copy;
}

}  // namespace quorvel
