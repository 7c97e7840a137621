// A block of a graph that somebody watches.
#pragma once

#include <memory>

#include "engine/audio_block.h"

namespace quorvel::tool {

// Hears of every run of a block, on the thread that runs it.
class BlockObserver {
  public:
    virtual ~BlockObserver() = default;
    virtual void Before() {}

    // `out` has frames × width floats.
    virtual void After(const float* out, std::int32_t frames, std::int32_t width) = 0;
};

// Stands in a graph for a block with the same id and kind, which does all the work: order, buffers
// and samples of the graph stay what they are.
class ObservedBlock final : public AudioBlock {
  public:
    // Throws std::bad_alloc. The observer outlives the block.
    ObservedBlock(std::shared_ptr<AudioBlock> watched, BlockObserver& blockObserver);

    GUID GetTypeId() const override;
    int32_t GetInputChannels() const override;
    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;
    void SetInputsFormat(const std::vector<BlockInput>& blockInputs, int32_t minWidth,
                         int32_t maxWidth, int32_t rate) override;
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                       int32_t frames) QUORVEL_REAL_TIME override;
    void ProcessInput(const BlockInput& blockInput, float* out,
                      int32_t frames) QUORVEL_REAL_TIME override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;
    void Reset() QUORVEL_REAL_TIME override;
    bool CanProcessInPlace() const override;
    bool WantsUniformInputs() const override;
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME { block->StartAfresh(); }

  private:
    std::shared_ptr<AudioBlock> block;
    BlockObserver& observer;
};

}  // namespace quorvel::tool
