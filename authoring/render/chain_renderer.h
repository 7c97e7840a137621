// Audio from a file through a graph to a file.
#pragma once

#include <cstdint>
#include <functional>

#include "authoring/render/audio_reader.h"
#include "authoring/render/audio_writer.h"
#include "authoring/render/sample_meter.h"
#include "engine/audio_graph.h"
#include "engine/sample_guard.h"

namespace quorvel::tool {

struct RenderOutcome {
    std::int64_t frames = 0;  // in and out alike
    SampleMeter input{};
    SampleMeter output{};
    SampleGuard::Counts caught{};
    double seconds = 0.0;  // that reading, processing and writing took
};

// Tells the speaker mask of the input channels that carry signal from frame `frame` on.
using ActivityListener = std::function<void(std::int64_t frame, std::uint32_t mask)>;

// Called after every piece, with the frames that were rendered so far.
using PieceListener = std::function<void(std::int64_t frames)>;

// Runs all of `reader` through `graph`, whose formats are set, in buffers of `blockFrames` frames
// (at least 1); the last one is as short as the input demands. Bad samples are dealt with as in the
// processing objects (engine/sample_guard.h). A buffer that the graph calls silent is written as
// zeros, and so is what the graph leaves unwritten. The listener is called between buffers.
// Replaces the graph's callback. Throws what the reader and the writer throw.
RenderOutcome Render(AudioGraph& graph, AudioReader& reader, AudioWriter& writer,
                     std::int32_t blockFrames, const ActivityListener& onActivity,
                     const PieceListener& onPiece = {});

}  // namespace quorvel::tool
