#include "dsp/routing/channel_layout.h"

#include <algorithm>

namespace quorvel {

// Sweeps the spans from the left; `covered` is the end of what they cover without a gap so far, and
// beyond a gap, of what they reach.
ChannelLayout MeasureLayout(std::span<ChannelSpan> spans) {
    std::ranges::sort(spans, {}, &ChannelSpan::first);
    ChannelLayout layout;
    int32_t covered = 0;
    for (const ChannelSpan& span : spans) {
        const int32_t end = span.first + span.width;
        layout.width = std::max(layout.width, end);
        if (span.width == 0) continue;
        layout.complete = layout.complete && span.first <= covered;
        layout.disjoint = layout.disjoint && span.first >= covered;
        covered = std::max(covered, end);
    }
    layout.complete = layout.complete && covered == layout.width;
    return layout;
}

}  // namespace quorvel
