// The blocks of one processing chain, the links between them, and the run of audio through them.
//
// Structure (audio_graph_structure.cpp, audio_graph_build.cpp): blocks are added and linked; a
// build orders them so that each stands behind all that feed it, and plans the buffers between
// them. A chain is valid when every block is upstream of one final block, without a cycle, and the
// memory for its buffers can be had. Several chain ends (tails) are joined by an internal mixer
// when their first-input walks end in one common source.
//
// Processing (audio_graph_formats.cpp, audio_graph_process.cpp): the blocks run at the processing
// format, internal adapters fit the result to the output width, and a fixed compressor holds back
// what is above full scale (output_limiter.h: it is no ceiling).
//
// Bounds: `out` is written only at its own width, and an input frame is read only as far as it
// goes: where automatic width asks for more channels than the input has, the rest are silent. A
// block that writes nothing counts as silence, wherever it stands in the chain.
//
// Threads: the graph has no lock; its owner serialises every call. Process, Reset and StartAfresh
// run on the real-time thread, everything else on control threads, whose work may allocate. Process
// itself allocates when a call brings more frames than 10 ms, when the processing width switches,
// when a block of a suspended graph has changed its width, and at the first use of the narrowed
// input.
//
// Out of memory: structural changes throw std::bad_alloc, or leave the graph invalid. When a pooled
// buffer cannot grow, or a reconfiguration lacks memory, the process ends. Inside ChangeWhole all
// of these throw, and the graph is what it was. When the memory for a narrowed input is short, the
// frames that do not fit are silence.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/memory_shortage.h"
#include "engine/audio_format.h"
#include "engine/block_network.h"
#include "engine/buffer_pool.h"
#include "engine/channel_activity_detector.h"
#include "engine/input_scan.h"
#include "engine/output_limiter.h"
#include "engine/processing_list.h"
#include "engine/scoped_flag.h"
#include "platform/real_time.h"

namespace quorvel {

class GraphMemento;

class AudioGraph {
  public:
    // An empty, valid graph without formats; noise on, automatic width off.
    AudioGraph();
    ~AudioGraph();
    AudioGraph(const AudioGraph&) = delete;
    AudioGraph& operator=(const AudioGraph&) = delete;

    // --- Structure -----------------------------------------------------------------------------
    // Changes rebuild the processing list at once unless the graph is suspended.

    // Forgets all blocks and the detector's state (the hold time included). Formats and pooled
    // buffers stay for the next chain unless `resetFormats`.
    void Clear(bool resetFormats);

    // true: later changes do not rebuild. Process goes on with the processing list of the last
    // build (empty after Clear). When one of its blocks has changed its width meanwhile, Process
    // first configures all of them, which allocates. false: builds once and ends the suspension.
    void SetUpdating(bool updating);
    bool IsSuspended() const { return suspended; }

    // Makes a block through the factory, adds and connects it. The record goes to the block's
    // SetParameterData (bytes) or SetParameters (a whole record) unless it is null; a refused one
    // leaves the defaults. A null id asks for a fresh one. Empty when the type is unknown, the id
    // is taken, or neither an id nor the memory can be had.
    std::shared_ptr<AudioBlock> AddNewBlock(const GUID& typeId, const void* data, uint32_t size,
                                            const GUID& id);
    std::shared_ptr<AudioBlock> AddNewBlockWithParameters(const void* record, const GUID& typeId,
                                                          const GUID& id);
    // The same, but the block is appended behind `after`, see AppendBlock.
    std::shared_ptr<AudioBlock> AppendNewBlockWithParameters(
        const void* record, const GUID& typeId, const GUID& id,
        const std::shared_ptr<AudioBlock>& after);

    // Adds a block without looking at heads and tails and without rebuilding. Links it still has
    // to other blocks are cut. False when its id is taken, or for an empty reference. The block
    // must not sit in another graph.
    bool AddBlock(const std::shared_ptr<AudioBlock>& block);

    // Adds a block; it becomes a head and a tail unless it is internal. False when its id is taken.
    bool AddBlockAndConnect(const std::shared_ptr<AudioBlock>& block);

    // Links `block` behind `after`, or behind the first tail when `after` is empty; adds it first
    // when the graph does not hold its id. Does nothing for an empty `block` or an `after` that the
    // graph does not hold.
    void AppendBlock(const std::shared_ptr<AudioBlock>& block,
                     const std::shared_ptr<AudioBlock>& after);

    std::shared_ptr<AudioBlock> FindBlock(const GUID& id) const;

    // Links `source`'s output to `destination`, once. False unless both belong to this graph. Link
    // does not rebuild; LinkBlocks and LinkById do when they linked.
    bool Link(const std::shared_ptr<AudioBlock>& source,
              const std::shared_ptr<AudioBlock>& destination);
    bool LinkBlocks(const std::shared_ptr<AudioBlock>& source,
                    const std::shared_ptr<AudioBlock>& destination);
    void LinkById(const GUID& sourceId, const GUID& destinationId);

    // Cuts the link and rebuilds. False unless both blocks belong to this graph.
    bool Unlink(const std::shared_ptr<AudioBlock>& source,
                const std::shared_ptr<AudioBlock>& destination);
    void UnlinkById(const GUID& sourceId, const GUID& destinationId);

    // Detaches the block from its neighbours, drops it and rebuilds. False unless the graph holds
    // it.
    bool RemoveBlock(const std::shared_ptr<AudioBlock>& block);
    void RemoveBlockById(const GUID& id);

    // Puts a new block of another kind in the place of the one with that id, behind and ahead of
    // the same blocks, and rebuilds. The record is taken as by AddNewBlock. False, and nothing
    // changes, when the graph has no such block, the kind is unknown or memory cannot be had.
    bool ReplaceBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id);

    // Calls `change()`, which calls this graph, and keeps what it did only if memory sufficed for
    // all of it, the blocks' own included. Otherwise throws std::bad_alloc, and the graph runs on
    // as before; parameters that `change` gave to blocks that stay are for `undo()` to take back,
    // which must not throw. What is thrown by `change` comes out the same way. `change` must not
    // Clear(true): that frees the buffers that the graph would go back to.
    template <typename Change, typename Undo>
    void ChangeWhole(Change&& change, Undo&& undo) {
        WholeChange whole(*this);
        try {
            change();
            whole.End();
        } catch (...) {
            whole.Restore();
            {
                const ScopedFlag hold(suspended);
                undo();
            }
            whole.ConfigureAgain();
            throw;
        }
    }
    template <typename Change>
    void ChangeWhole(Change&& change) {
        ChangeWhole(change, [] {});
    }

    // Writes the ids of the profile's blocks (internal ones left out) in id order and returns
    // n = min(max, how many there are). When there are more, it writes one id past the n it
    // returns: `out` must have room for max + 1 ids. A null `out` or a negative `max` gives 0.
    int32_t GetBlockIds(GUID* out, int32_t max) const;

    // Whether the last build succeeded. An invalid graph passes its input through; its processing
    // list holds nothing but an adapter, where the widths differ.
    bool IsValid() const { return valid; }

    // The blocks in the order in which they run, and the one whose output leaves the chain (empty
    // when there is none).
    const std::vector<GraphNode>& Nodes() const { return processingList.Nodes(); }
    const std::shared_ptr<AudioBlock>& OutputBlock() const { return outputBlock; }
    const BlockNetwork& Network() const { return network; }
    const BufferPool& Buffers() const { return bufferPool; }

    // --- Formats and settings ------------------------------------------------------------------
    // All of these configure the blocks anew, which needs both formats to have channels.

    // A format record is copied with its extension; a zero speaker mask becomes the default one. A
    // null record changes nothing. Rates are in Hz. SetFormats begins a new stream: it also clears
    // the output limiter, so that the graph sounds like a fresh one.
    void SetInputFormat(const WAVEFORMATEX* format);
    void SetInputFormat(uint16_t channelCount, uint32_t mask, uint32_t sampleRate);
    void SetOutputFormat(const WAVEFORMATEX* format);
    void SetOutputFormat(uint16_t channelCount, uint32_t mask, uint32_t sampleRate);
    void SetFormats(const WAVEFORMATEX* input, const WAVEFORMATEX* output);

    const AudioFormat& InputFormat() const { return inputFormat; }
    const AudioFormat& ProcessingFormat() const { return processingFormat; }
    const AudioFormat& OutputFormat() const { return outputFormat; }

    // How the adapter that widens the chain's output spreads a mono chain: the second field of the
    // stream expander's record.
    void SetUpmixMode(uint32_t mode);

    // Automatic width: an input of more than two channels is processed at 2, 6 or 8 channels,
    // whichever its signal needs; a narrower width must last `milliseconds` first. 0 switches it
    // off; 0xFFFFFFFF means 5000.
    void SetChannelDetectionHold(uint32_t milliseconds);

    // Whether exact zeros and audible samples get a noise of at most 3/32768 added.
    void SetNoiseEnabled(bool enabled);

    // The most channels that the output of a block, and those of all blocks together, may have; the
    // graph's own blocks do not count. Without a limit at first. Wider ones make the graph invalid
    // until a change of a width or a rebuild mends it. Takes effect at the next configuration.
    void LimitWidths(uint32_t widest, uint32_t together) {
        widestOutput = widest;
        widestTogether = together;
    }

    // Called inside Process, on the real-time thread, with the speaker mask of the channels that
    // carry signal whenever it changes. May be empty.
    void SetActiveChannelsCallback(std::function<void(uint32_t)> callback);

    // Configures every block for the current formats, in processing order, and fits the output
    // adapter. Blocks call it when their output width changed. Does nothing while the processing or
    // the output format has no channels. Throws std::bad_alloc inside ChangeWhole only.
    void Reconfigure();

    // --- Running -------------------------------------------------------------------------------

    // Clears the signal state of every block that lets it be cleared.
    void Reset() QUORVEL_REAL_TIME;

    // Forgets all audio: every block, the limiter and the buffers are as after their configuration
    // (AudioBlock::StartAfresh). Parameters, formats and the channels detected stay. Allocates
    // nothing.
    void StartAfresh() QUORVEL_REAL_TIME;

    // Runs `frames` frames from `in` (frames × input channels) to `out` (frames × output channels);
    // the two may be one buffer. Both formats must be set. With noise on, `in` is changed in place.
    // Returns the speaker mask of the input channels that carried signal (a sample above 3/32768);
    // 0 means silence: the caller then fills `out` with zeros.
    //
    // Samples pass as the blocks' arithmetic has them, whatever they are (engine/sample_guard.h
    // keeps bad ones out). A block whose last frame is not finite starts afresh: such a sample in
    // a filter or an envelope would stay for good.
    uint32_t Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME;

    // For a graph inside a block, whose owner's changes are to be whole: memory that a
    // configuration lacks is thrown as std::bad_alloc from now on, instead of ending the process.
    void ThrowWithoutMemory() { throwsWithoutMemory = true; }

  private:
    friend class GraphMemento;

    // One run of ChangeWhole.
    class WholeChange {
      public:
        explicit WholeChange(AudioGraph& changedGraph);
        ~WholeChange();
        void End();  // throws when memory was short anywhere
        void Restore() noexcept;
        void ConfigureAgain() noexcept;  // if blocks were configured since

      private:
        AudioGraph& graph;
        const std::unique_ptr<GraphMemento> before;
        const uint32_t configurationsBefore;
        const ShortageWatch shortage;
        const ScopedFlag throwing;
    };

    void Rebuild();
    void Build();
    void ReleaseList();
    void Configure();
    ProcessingList::Outcome OrderFrom(const BlockReference& finalBlock);
    BlockReference JoinTails();
    BlockReference CreateInternalBlock(const void* record, const GUID& typeId);

    void StoreInputFormat(const AudioFormat& format);
    uint32_t ProcessingRate() const;

    bool ConfigureNodes(uint32_t rate);
    MemoryLack Lack() const;
    void UpdateOutputAdapter();
    const AudioBlock* LastOfChain() const;
    int32_t ChainWidth() const;
    void DropAdapter();
    void PassInputThrough();
    bool PlaceAdapter(const void* record, const GUID& typeId);

    void FollowChannelActivity(uint32_t mask, int32_t frames);
    void SwitchProcessingWidth(uint32_t width, uint32_t mask);
    bool IsConfigured() const;
    void RunChain(float* in, float* out, int32_t frames);
    int32_t NarrowInput(const float* in, int32_t frames);
    void PassThrough(const float* in, float* out, int32_t frames) const;
    void RunNode(GraphNode& node, float* chainInput, float* out, int32_t frames);
    static void WidenInputs(GraphNode& node, int32_t frames);
    void MixInputs(GraphNode& node, float* destination, int32_t frames);

    BlockNetwork network{this};
    BufferPool bufferPool;
    ProcessingList processingList;
    std::shared_ptr<AudioBlock> outputBlock;
    std::shared_ptr<AudioBlock> adapterBlock;  // the internal output adapter in place, if any
    bool suspended = false;
    bool valid = true;
    bool isTooWide = false;                // what made the graph invalid
    uint32_t widestOutput = UINT32_MAX;    // channels
    uint32_t widestTogether = UINT32_MAX;  // channels, of all outputs
    bool throwsWithoutMemory = false;      // a configuration throws instead of ending the process
    uint32_t configurations = 0;           // how often blocks were configured, counted round

    AudioFormat inputFormat{};
    AudioFormat processingFormat{};
    AudioFormat outputFormat{};
    uint32_t upmixMode = 0;
    uint32_t lastActiveMask = 0;
    InputScan inputScan;
    ChannelActivityDetector detector;
    uint32_t holdMs = 0;           // 0: automatic width is off
    AudioBuffer conversionBuffer;  // the input at the processing width
    AudioBuffer mixBuffer;         // the summed inputs of a block that then narrows them
    std::function<void(uint32_t)> onActiveChannelsChanged;
    OutputLimiter limiter;
};

}  // namespace quorvel
