// The wave format records of Windows' multimedia headers, byte for byte.
#pragma once

#include <cstddef>

#include "platform/portable/kernel/types.h"

#pragma pack(push, 1)
struct WAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;  // bytes that follow this record
};

struct WAVEFORMATEXTENSIBLE {
    WAVEFORMATEX Format;
    union {
        WORD wValidBitsPerSample;
        WORD wSamplesPerBlock;
        WORD wReserved;
    } Samples;
    DWORD dwChannelMask;  // SPEAKER_ bits, one a channel in ascending order
    GUID SubFormat;
};
#pragma pack(pop)

static_assert(sizeof(WAVEFORMATEX) == 18);
static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 40);
static_assert(offsetof(WAVEFORMATEXTENSIBLE, dwChannelMask) == 20);
static_assert(offsetof(WAVEFORMATEXTENSIBLE, SubFormat) == 24);

inline constexpr WORD WAVE_FORMAT_EXTENSIBLE = 0xFFFE;

inline constexpr DWORD SPEAKER_FRONT_LEFT = 0x1;
inline constexpr DWORD SPEAKER_FRONT_RIGHT = 0x2;
inline constexpr DWORD SPEAKER_FRONT_CENTER = 0x4;
inline constexpr DWORD SPEAKER_LOW_FREQUENCY = 0x8;
inline constexpr DWORD SPEAKER_BACK_LEFT = 0x10;
inline constexpr DWORD SPEAKER_BACK_RIGHT = 0x20;
inline constexpr DWORD SPEAKER_BACK_CENTER = 0x100;
inline constexpr DWORD SPEAKER_SIDE_LEFT = 0x200;
inline constexpr DWORD SPEAKER_SIDE_RIGHT = 0x400;
