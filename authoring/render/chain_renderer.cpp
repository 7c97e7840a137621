#include "authoring/render/chain_renderer.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

#include "authoring/document/progress_bar.h"
#include "engine/sample_check.h"

namespace quorvel::tool {
namespace {

// Files are read and written in large pieces, of whole blocks.
constexpr std::int32_t kPieceFrames = 65536;

class Renderer {
  public:
    Renderer(AudioGraph& graphToRun, std::int32_t framesInBlock, const ActivityListener& listener)
        : graph(graphToRun),
          onActivity(listener),
          blockFrames(framesInBlock),
          pieceFrames(std::max(kPieceFrames / framesInBlock, 1) * framesInBlock),
          inWidth(graph.InputFormat().Format.nChannels),
          outWidth(graph.OutputFormat().Format.nChannels),
          in(static_cast<std::size_t>(pieceFrames) * inWidth),
          out(static_cast<std::size_t>(pieceFrames) * outWidth) {
        // The callback runs inside Process, where a live graph must neither print nor wait.
        graph.SetActiveChannelsCallback([this](std::uint32_t mask) { changedMask = mask; });
    }
    ~Renderer() { graph.SetActiveChannelsCallback({}); }
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    void Run(AudioReader& reader, AudioWriter& writer, const PieceListener& onPiece) {
        ProgressBar progress(reader.Frames());
        std::int64_t got = pieceFrames;
        while (got == pieceFrames) {
            got = reader.Read(in.data(), pieceFrames);
            const auto frames = static_cast<std::size_t>(got);
            outcome.input.Add({in.data(), frames * inWidth}, kLoudestInput);
            RunPiece(static_cast<std::int32_t>(got));
            outcome.output.Add({out.data(), frames * outWidth});
            writer.Write(out.data(), got);
            if (onPiece) onPiece(outcome.frames);
            progress.Show(outcome.frames);
        }
        outcome.caught = guard.Caught();
    }

    RenderOutcome outcome;

  private:
    void RunPiece(std::int32_t frames) {
        std::fill(out.begin(), out.end(), 0.0f);
        for (std::int32_t first = 0; first < frames; first += blockFrames) {
            const std::int32_t count = std::min(blockFrames, frames - first);
            float* const blockOut = out.data() + std::size_t(first) * outWidth;
            const auto active =
                guard.Process(graph, in.data() + std::size_t(first) * inWidth, blockOut, count);
            if (active == 0) std::fill_n(blockOut, std::size_t(count) * outWidth, 0.0f);
            if (changedMask) onActivity(outcome.frames, *changedMask);
            changedMask.reset();
            outcome.frames += count;
        }
    }

    AudioGraph& graph;
    SampleGuard guard;
    const ActivityListener& onActivity;
    std::optional<std::uint32_t> changedMask;
    std::int32_t blockFrames;
    std::int32_t pieceFrames;
    std::size_t inWidth;
    std::size_t outWidth;
    std::vector<float> in;
    std::vector<float> out;
};

}  // namespace

RenderOutcome Render(AudioGraph& graph, AudioReader& reader, AudioWriter& writer,
                     std::int32_t blockFrames, const ActivityListener& onActivity,
                     const PieceListener& onPiece) {
    const auto start = std::chrono::steady_clock::now();
    Renderer renderer(graph, blockFrames, onActivity);
    renderer.Run(reader, writer, onPiece);
    writer.Finish();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    renderer.outcome.seconds = took.count();
    return renderer.outcome;
}

}  // namespace quorvel::tool
