// The signal behind blocks of a chain, each into a file of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "authoring/render/audio_writer.h"
#include "authoring/render/chain_graph.h"
#include "authoring/render/observed_block.h"

namespace quorvel::tool {

// What stands behind a block while a graph runs.
class Tap final : public BlockObserver {
  public:
    Tap(const GUID& id, Output file) : blockId(id), output(std::move(file)) {}

    // Makes the file for the width that the block of the graph has now, and for `frames` frames
    // that are expected. Throws ToolError as OutputFile does.
    void Open(const AudioGraph& graph, std::int64_t frames);

    void After(const float* out, std::int32_t frames, std::int32_t width) override;

    // Writes what was heard up to frame `end` of the sound; where the block did not run, silence,
    // and where its width was another, the channels that both have. Throws ToolError (file).
    void Write(std::int64_t end);
    void Finish();

    GUID blockId;

  private:
    Output output;
    std::uint32_t channels = 0;
    std::int64_t written = 0;
    std::vector<float> heard{};
    std::unique_ptr<AudioWriter> writer{};
};

// From "BLOCK=FILE" each, where BLOCK is a name or an id of the chain; it ends at the last '=' that
// leaves a known one. With `mayReplace` the files may be there already. Throws ToolError (usage).
std::vector<std::unique_ptr<Tap>> MakeTaps(const std::vector<std::string>& options,
                                           const ChosenChain& chosen, bool mayReplace);

}  // namespace quorvel::tool
