// The base class of every DSP block.
//
// A block transforms interleaved 32-bit float audio (frames × channels, full scale ±1.0), one
// buffer a call. This class is itself a working block: it sums its inputs and passes the sum on.
// Concrete blocks override what differs.
//
// Threads: a block has no lock. Whoever owns the graph serialises every call. Process,
// ProcessInputs, ProcessInput and Reset run on the real-time thread: no wait, no lock, and no
// allocation but the ones a block's header names. Configuration (SetFormat, SetInputsFormat) runs
// on control threads, and on the real-time thread when the graph switches its processing width.
//
// Storage: the factory fills an object's memory with zeros before it constructs it; every field
// has an initialiser of its own all the same.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/block_input.h"
#include "platform/real_time.h"
#include "platform/windows_api.h"

namespace quorvel {

class AudioGraph;

class AudioBlock {
  public:
    // A block with the instance id `instanceId`, without format: all widths are 0.
    explicit AudioBlock(const GUID& instanceId);

    // The fifteen virtual operations, in the order of their slots. Concrete blocks add none.

    virtual ~AudioBlock();

    // The id of the block's class, its key in the block factory; all zero in the base class.
    virtual GUID GetTypeId() const;

    // Floats per input frame and per output frame, and the speaker mask of the output.
    virtual int32_t GetInputChannels() const;
    virtual int32_t GetOutputChannels() const;
    virtual uint32_t GetChannelMask() const;

    // Configures a block with several inputs that said no to WantsUniformInputs. `minWidth` and
    // `maxWidth` are the narrowest and the widest input in channels, `rate` is in Hz. The base
    // class works at `maxWidth` with its default mask.
    virtual void SetInputsFormat(const std::vector<BlockInput>& blockInputs, int32_t minWidth,
                                 int32_t maxWidth, int32_t rate);

    // Configures a block that is fed with one width: channels, speaker mask, rate in Hz.
    virtual void SetFormat(int32_t width, uint32_t mask, int32_t rate);

    // Processes a block with two or more inputs into `out` (frames × GetOutputChannels()). The base
    // class sums the inputs, each `channels` wide, sample by sample in list order from 0.0 in
    // single precision, then runs Process on `out` in place. `out` overlaps no input buffer and has
    // room for frames × the wider of GetInputChannels() and GetOutputChannels().
    virtual void ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                               int32_t frames) QUORVEL_REAL_TIME;

    // Processes a block with one input.
    virtual void ProcessInput(const BlockInput& blockInput, float* out,
                              int32_t frames) QUORVEL_REAL_TIME;

    // Processes `in` (frames × GetInputChannels()) into `out` (frames × GetOutputChannels()). The
    // two are the same buffer or do not overlap. A block that may leave `out` unwritten says so in
    // IsMute. The base class copies.
    virtual void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME;

    // Clears signal state: histories, envelopes, delay lines. The base class has none.
    virtual void Reset() QUORVEL_REAL_TIME;

    // Whether `in` and `out` of Process may be one buffer. The base class says yes.
    virtual bool CanProcessInPlace() const;

    // Whether every input must be widened to the widest one before ProcessInputs. When not, the
    // graph configures the block with SetInputsFormat. The base class says yes.
    virtual bool WantsUniformInputs() const;

    // Takes the block's parameter record as raw bytes. False, and nothing changes, for a null
    // pointer or fewer bytes than the record has. The base class accepts and ignores anything.
    virtual bool SetParameterData(const void* data, uint32_t size);

    // Takes the block's parameter record, known to be whole. False for a null pointer, but for
    // kinds without parameters and the base class, which accept and ignore anything.
    virtual bool SetParameters(const void* record);

    const GUID& GetId() const { return id; }

    // Returns the signal state (histories, envelopes, delay lines) to what it was behind the
    // block's construction and configuration. Parameters and format stay. Reset is something else:
    // in several kinds it is settled to keep the state. Allocates nothing.
    void StartAfresh() QUORVEL_REAL_TIME {
        if (startAfresh) startAfresh(*this);
    }
    // Whether the last Process left its output unwritten: the block has no routine for its input,
    // or lacks memory. The graph then fills the output with silence. Real-time.
    bool IsMute() const { return isMute; }

    // Calls `callback(float* in, float* out)` for every sample in ascending order. Does
    // nothing when the block's input and output widths differ.
    template <typename Callback>
    void ProcessSamples(float* in, float* out, int32_t frames, Callback&& callback) {
        const int32_t width = GetInputChannels();
        if (GetOutputChannels() != width) return;
        ForEachSample(in, out, width, frames, callback);
    }

    // Calls `callback(float* inFrame, float* outFrame)` for every frame in ascending order, at the
    // block's input and output widths.
    template <typename Callback>
    void ProcessFrames(float* in, float* out, int32_t frames, Callback&& callback) {
        ForEachFrame(in, out, frames, GetInputChannels(), GetOutputChannels(), callback);
    }

    // The same with explicit widths, in floats. A callable that holds nothing, such as an empty
    // std::function, throws std::bad_function_call.
    template <typename Callback>
    static void ForEachSample(float* in, float* out, int32_t width, int32_t frames,
                              Callback&& callback) {
        const int64_t samples = int64_t{width} * frames;
        for (int64_t i = 0; i < samples; ++i)
            callback(in + i, out + i);
    }

    template <typename Callback>
    static void ForEachFrame(float* in, float* out, int32_t frames, int32_t inStride,
                             int32_t outStride, Callback&& callback) {
        for (int32_t f = 0; f < frames; ++f, in += inStride, out += outStride)
            callback(in, out);
    }

  protected:
    uint32_t channels = 0;        // working width: what the base class reads and writes
    uint32_t inputChannels = 0;   // width of the input as last configured
    uint32_t outputChannels = 0;  // width of the output as last configured
    uint32_t sampleRate = 0;      // Hz
    uint32_t channelMask = 0;     // speaker mask of the output
    GUID typeId{};                // set by the constructor of each concrete class
    GUID id{};                    // unique within a graph
    bool isMute = false;          // kept up to date by blocks whose Process may write nothing

    // Makes StartAfresh call `Block::ClearState`. For the constructor of a block with state.
    template <typename Block>
    void StartAfreshByClearing() {
        startAfresh = [](AudioBlock& block)
                          QUORVEL_REAL_TIME { static_cast<Block&>(block).ClearState(); };
    }

    // Tells the graph that holds the block, unless it is suspended, that the output width changed:
    // it configures every block again, this one included.
    void AnnounceWidth();

  public:
    // Wiring, written by the graph alone. Block B stands in A's outputs exactly when A stands in
    // B's inputs; both in the order in which the links were made.
    std::vector<std::shared_ptr<AudioBlock>> inputs;
    std::vector<std::shared_ptr<AudioBlock>> outputs;
    AudioGraph* graph = nullptr;  // the graph that holds the block, not owned
    bool isInternal = false;      // made by the graph itself (mixer of several ends, width adapter)

  private:
    void (*startAfresh)(AudioBlock& block) QUORVEL_REAL_TIME = nullptr;  // null: without state
};

}  // namespace quorvel
