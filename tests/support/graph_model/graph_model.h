// A plain model of AudioGraph, to hold the graph against: what goes in and what must come out, bit
// for bit, without pooled buffers, work in place, or anything that saves time.
//
// It answers to the edits, formats and settings of AudioGraph, which are declared there, under the
// same names. The blocks are those of the library or of the caller, but with no graph: give the
// model instances of its own. Noise is drawn from platform::Rand of the calling thread: seed it
// alike before a call of the graph and before the same call of the model.
//
// Not modelled: formats without channels once there were some, memory that cannot be had, widths
// that no memory holds, a lone combiner that runs in place (it adds onto its own input), and what a
// suspended graph plays between a change of its structure and the next build.
#pragma once

#include <cstdint>
#include <vector>

#include "dsp/dynamics/simple_comp.h"
#include "platform/windows_api.h"
#include "tests/support/graph_model/model_block.h"
#include "tests/support/graph_model/model_input.h"
#include "tests/support/graph_model/model_network.h"

namespace quorvel::model {

struct Format {
    int32_t width = 0;
    uint32_t mask = 0;
    uint32_t rate = 0;  // Hz
};

class GraphModel {
  public:
    // One entry of the processing list.
    struct Node {
        BlockId id{};
        BlockReference block;
        std::vector<std::size_t> inputs;  // entries of the list
        int32_t mixWidth = 0;             // what narrower inputs are widened to; 0: nothing
        int32_t width = 0;                // of the output, as last configured
        Samples out;                      // what it wrote, or what its readers made of it since
    };

    GraphModel();

    void Clear(bool resetFormats);
    void SetUpdating(bool updating);
    void AddNewBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id);
    bool AddBlockAndConnect(const BlockReference& block);
    void AppendNewBlockWithParameters(const void* record, const GUID& typeId, const GUID& id,
                                      const BlockReference& after);
    void AppendBlock(const BlockReference& block, const BlockReference& after);
    BlockReference FindBlock(const GUID& id) const { return network.Find(IdOf(id)); }
    void ReplaceBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id);
    void LinkById(const GUID& source, const GUID& destination);
    void UnlinkById(const GUID& source, const GUID& destination);
    void RemoveBlockById(const GUID& id);

    // Gives a record to a block of the graph: configures all blocks anew when that changed what
    // the block delivers. False when the block refuses it.
    bool SetRecord(const GUID& id, const void* data, uint32_t size);

    void SetInputFormat(uint16_t width, uint32_t mask, uint32_t rate);
    void SetOutputFormat(uint16_t width, uint32_t mask, uint32_t rate);
    void SetFormats(const WAVEFORMATEX* in, const WAVEFORMATEX* out);
    void SetUpmixMode(uint32_t mode);
    void SetChannelDetectionHold(uint32_t milliseconds);
    void SetNoiseEnabled(bool enabled) { noiseEnabled = enabled; }

    void Reset();

    // Changes `in` as the graph would; `out` gets frames × output channels. Returns the mask.
    uint32_t Process(Samples& in, Samples& out, int32_t frames);

    bool IsValid() const { return valid; }
    const std::vector<Node>& Nodes() const { return nodes; }
    const Format& ProcessingFormat() const { return processing; }
    const Format& InputFormat() const { return input; }
    const Format& OutputFormat() const { return output; }
    const std::vector<uint32_t>& Told() const { return told; }  // the callback's masks

  private:
    void Rebuild();
    void Build();
    void Reconfigure();
    void Configure(Node& node) const;
    void FitOutput();
    void DropAdapter();
    bool IsConfigured() const;
    void StoreInput(const Format& format);
    void FollowSignal(uint32_t speakers, int32_t frames);
    Samples ChainInput(const Samples& in, int32_t frames) const;
    void Run(Node& node, const Samples& chainInput, int32_t frames);
    void Limit(Samples& out);

    Network network;
    std::vector<Node> nodes;
    const GUID* adapterType = nullptr;  // of the last node, when that is an adapter
    bool suspended = false;
    bool valid = true;
    Format input, processing, output;
    uint32_t upmixMode = 0;
    uint32_t holdMs = 0;
    bool noiseEnabled = true;
    uint32_t lastActive = 0;
    Scan scan;
    Detector detector;
    dynamics::SimpleComp limiter;
    std::vector<uint32_t> told;
};

}  // namespace quorvel::model
