// What the format queries and a lock have to answer, rule by rule.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <vector>

#include "engine/audio_format.h"
#include "platform/apo_interfaces.h"

namespace quorvel::test::model {

using Format = UNCOMPRESSEDAUDIOFORMAT;

struct Answer {
    HRESULT result = S_OK;
    std::optional<Format> format{};  // what is handed back: with S_OK the requested one itself
};

// The masks of each channel count, the preferred one first.
inline const std::map<DWORD, std::vector<DWORD>> kMasks = {
    {1, {0x4}},
    {2, {0x3}},
    {3, {0xB, 0x7}},
    {4, {0x33, 0xF}},
    {5, {0x3B, 0x37}},
    {6, {0x60F, 0x3F, 0x707}},
    {7, {0x70F, 0x637, 0xF7}},
    {8, {0x63F, 0xFF}},
};

// The nearest format that objects process; a rate that is no number stays.
inline Format Default(Format format) {
    format.guidFormatType = kIeeeFloatSubFormat;
    format.dwSamplesPerFrame = std::clamp<DWORD>(format.dwSamplesPerFrame, 1, 4096);
    format.dwBytesPerSampleContainer = 4;
    format.dwValidBitsPerSample = 32;
    if (format.fFramesPerSecond < 10.0f) format.fFramesPerSecond = 10.0f;
    if (format.fFramesPerSecond > 384000.0f) format.fFramesPerSecond = 384000.0f;
    return format;
}

// Field by field; a rate that is no number is unlike itself.
inline bool IsSame(const Format& a, const Format& b) {
    return a.guidFormatType == b.guidFormatType && a.dwSamplesPerFrame == b.dwSamplesPerFrame &&
           a.dwBytesPerSampleContainer == b.dwBytesPerSampleContainer &&
           a.dwValidBitsPerSample == b.dwValidBitsPerSample &&
           a.fFramesPerSecond == b.fFramesPerSecond && a.dwChannelMask == b.dwChannelMask;
}

inline bool IsDefault(const Format& format) {
    Format fixed = Default(format);
    Format plain = format;
    if (fixed.fFramesPerSecond != fixed.fFramesPerSecond)
        fixed.fFramesPerSecond = plain.fFramesPerSecond = 0.0f;
    return IsSame(fixed, plain);
}

// What both queries end with.
inline Answer Hand(const Format& requested, const Format& adjusted, bool hasOtherRate) {
    const bool isChanged = !IsDefault(requested) || hasOtherRate ||
                           adjusted.dwSamplesPerFrame != requested.dwSamplesPerFrame ||
                           adjusted.dwChannelMask != requested.dwChannelMask;
    return {isChanged ? S_FALSE : S_OK, adjusted};
}

// The input query of the processing objects.
inline Answer Input(const std::optional<Format>& opposite, const Format& requested) {
    Format format = Default(requested);
    if (!opposite) return Hand(requested, format, false);
    if (!IsDefault(*opposite)) return {APOERR_FORMAT_NOT_SUPPORTED};
    const bool hasOtherRate = format.fFramesPerSecond != opposite->fFramesPerSecond;
    format.fFramesPerSecond = opposite->fFramesPerSecond;
    const auto masks = kMasks.find(format.dwSamplesPerFrame);
    if (masks == kMasks.end()) return {APOERR_FORMAT_NOT_SUPPORTED};
    const bool isAccepted =
        format.dwChannelMask == 0 || std::ranges::count(masks->second, format.dwChannelMask) > 0;
    if (!isAccepted) format.dwChannelMask = masks->second.front();
    return Hand(requested, format, hasOtherRate);
}

// The output query of the processing objects, and both of the plain class, under `flags`.
inline Answer Core(const std::optional<Format>& opposite, const Format& requested, DWORD flags) {
    if (opposite && !IsDefault(*opposite)) return {S_FALSE};
    Format format = Default(requested);
    if (!opposite) return Hand(requested, format, false);
    if (flags & APO_FLAG_SAMPLESPERFRAME_MUST_MATCH) {
        format.dwSamplesPerFrame = opposite->dwSamplesPerFrame;
        format.dwChannelMask = opposite->dwChannelMask;
    }
    const bool takesRate = (flags & APO_FLAG_FRAMESPERSECOND_MUST_MATCH) &&
                           format.fFramesPerSecond != opposite->fFramesPerSecond;
    if (takesRate) format.fFramesPerSecond = opposite->fFramesPerSecond;
    return Hand(requested, format, takesRate);
}

// One connection of a lock.
struct Connection {
    std::optional<Format> format{};  // none: a null pointer
    bool isSigned = true;
    UINT_PTR buffer = 0;
    UINT32 frames = 480;
};

struct Side {
    UINT32 count = 1;
    bool isNullArray = false;
    std::vector<Connection> connections{};  // `count` of them at least

    bool LacksFirst() const { return count > 0 && (isNullArray || !connections[0].format); }
};

// Registered numbers of connections.
struct Counts {
    UINT32 leastIn = 1, mostIn = 1, leastOut = 1, mostOut = 1;
};

inline bool IsUnlike(const Format& format, const Format& first, DWORD flags) {
    return ((flags & APO_FLAG_SAMPLESPERFRAME_MUST_MATCH) &&
            format.dwSamplesPerFrame != first.dwSamplesPerFrame) ||
           ((flags & APO_FLAG_BITSPERSAMPLE_MUST_MATCH) &&
            (format.dwBytesPerSampleContainer != first.dwBytesPerSampleContainer ||
             format.dwValidBitsPerSample != first.dwValidBitsPerSample)) ||
           ((flags & APO_FLAG_FRAMESPERSECOND_MUST_MATCH) &&
            format.fFramesPerSecond != first.fFramesPerSecond);
}

inline HRESULT Validate(const Connection& connection, const Format& first, DWORD flags) {
    if (!connection.isSigned) return E_INVALIDARG;
    if (!connection.format) return E_POINTER;
    return IsUnlike(*connection.format, first, flags) ? APOERR_INVALID_CONNECTION_FORMAT : S_OK;
}

inline UINT_PTR EndOf(const Connection& connection) {
    return connection.buffer + UINT_PTR{connection.format->dwSamplesPerFrame} *
                                   connection.format->dwBytesPerSampleContainer * connection.frames;
}

// A lock of the plain class.
inline HRESULT Lock(const Side& in, const Side& out, DWORD flags, const Counts& counts) {
    if (in.LacksFirst() || out.LacksFirst()) return E_POINTER;
    if (in.count < counts.leastIn || in.count > counts.mostIn || out.count < counts.leastOut ||
        out.count > counts.mostOut)
        return APOERR_NUM_CONNECTIONS_INVALID;
    for (UINT32 i = 0; i < in.count; ++i) {
        for (UINT32 o = 0; o < out.count; ++o) {
            const auto& from = in.connections[i].format;
            const auto& to = out.connections[o].format;
            if (!from || !to || Core(from, *to, flags).result != S_OK ||
                Core(to, *from, flags).result != S_OK)
                return APOERR_FORMAT_NOT_SUPPORTED;
        }
    }
    const auto& first = in.count > 0 ? in.connections[0].format : out.connections[0].format;
    for (const Side* const side : {&in, &out})
        for (UINT32 i = 0; i < side->count; ++i)
            if (const HRESULT bad = Validate(side->connections[i], *first, flags)) return bad;
    if (in.count == 0 || out.count == 0) return S_OK;
    const Connection& from = in.connections[0];
    const Connection& to = out.connections[0];
    if ((flags & APO_FLAG_FRAMESPERSECOND_MUST_MATCH) && from.frames > to.frames)
        return APOERR_INVALID_OUTPUT_MAXFRAMECOUNT;
    const bool overlap = from.buffer < EndOf(to) && to.buffer < EndOf(from);
    return !(flags & APO_FLAG_INPLACE) && overlap ? APOERR_BUFFERS_OVERLAP : S_OK;
}

}  // namespace quorvel::test::model
