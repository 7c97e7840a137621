// The format records of the graph: Windows' extensible wave format.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

namespace quorvel {

using AudioFormat = WAVEFORMATEXTENSIBLE;

// The sub-format of 32-bit float samples, {00000003-0000-0010-8000-00AA00389B71}.
inline constexpr GUID kIeeeFloatSubFormat = {
    0x00000003, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

// 32-bit float samples, `channels` wide, at `sampleRate` Hz. `mask` is taken as it is.
AudioFormat MakeFloatFormat(uint16_t channels, uint32_t mask, uint32_t sampleRate);

// A copy of `format` and the extension that its cbSize announces, at most 40 bytes; what it does
// not have is 0. A zero speaker mask is replaced by the default one of its width.
AudioFormat CopyFormat(const WAVEFORMATEX& format);

}  // namespace quorvel
