// Measures how inputs of various widths share the channels of one frame.
#pragma once

#include <cstdint>
#include <span>

namespace quorvel {

// `width` consecutive channels from channel `first` on; neither is negative, and first + width
// does not exceed INT32_MAX.
struct ChannelSpan {
    int32_t first = 0;
    int32_t width = 0;
};

struct ChannelLayout {
    int32_t width = 0;     // highest end of a span, of an empty one too; 0 without spans
    bool complete = true;  // every channel below `width` lies in a span
    bool disjoint = true;  // no channel lies in two spans
};

// Sorts `spans` and measures them. Cost: n log n in the number of spans, whatever their widths; no
// allocation.
ChannelLayout MeasureLayout(std::span<ChannelSpan> spans);

}  // namespace quorvel
