// The buffer records of audio processing objects, as Windows' audio headers declare them.
#pragma once

#include "platform/portable/kernel/types.h"

using HNSTIME = LONGLONG;  // units of 100 ns

enum APO_BUFFER_FLAGS { BUFFER_INVALID = 0, BUFFER_VALID = 1, BUFFER_SILENT = 2 };

// A connection while one buffer is processed.
struct APO_CONNECTION_PROPERTY {
    UINT_PTR pBuffer;  // address of the samples, frames × channels
    UINT32 u32ValidFrameCount;
    APO_BUFFER_FLAGS u32BufferFlags;
    UINT32 u32Signature;
};
