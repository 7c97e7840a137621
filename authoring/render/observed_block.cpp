#include "authoring/render/observed_block.h"

#include <utility>

namespace quorvel::tool {

ObservedBlock::ObservedBlock(std::shared_ptr<AudioBlock> watched, BlockObserver& blockObserver)
    : AudioBlock(watched->GetId()), block(std::move(watched)), observer(blockObserver) {
    StartAfreshByClearing<ObservedBlock>();
}

GUID ObservedBlock::GetTypeId() const {
    return block->GetTypeId();
}

int32_t ObservedBlock::GetInputChannels() const {
    return block->GetInputChannels();
}

int32_t ObservedBlock::GetOutputChannels() const {
    return block->GetOutputChannels();
}

uint32_t ObservedBlock::GetChannelMask() const {
    return block->GetChannelMask();
}

void ObservedBlock::SetInputsFormat(const std::vector<BlockInput>& blockInputs, int32_t minWidth,
                                    int32_t maxWidth, int32_t rate) {
    block->SetInputsFormat(blockInputs, minWidth, maxWidth, rate);
}

void ObservedBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    block->SetFormat(width, mask, rate);
}

void ObservedBlock::ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                                  int32_t frames) QUORVEL_REAL_TIME {
    observer.Before();
    block->ProcessInputs(blockInputs, out, frames);
    observer.After(out, frames, GetOutputChannels());
}

void ObservedBlock::ProcessInput(const BlockInput& blockInput, float* out,
                                 int32_t frames) QUORVEL_REAL_TIME {
    observer.Before();
    block->ProcessInput(blockInput, out, frames);
    observer.After(out, frames, GetOutputChannels());
}

void ObservedBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    observer.Before();
    block->Process(in, out, frames);
    observer.After(out, frames, GetOutputChannels());
}

void ObservedBlock::Reset() QUORVEL_REAL_TIME {
    block->Reset();
}

bool ObservedBlock::CanProcessInPlace() const {
    return block->CanProcessInPlace();
}

bool ObservedBlock::WantsUniformInputs() const {
    return block->WantsUniformInputs();
}

bool ObservedBlock::SetParameterData(const void* data, uint32_t size) {
    return block->SetParameterData(data, size);
}

bool ObservedBlock::SetParameters(const void* record) {
    return block->SetParameters(record);
}

}  // namespace quorvel::tool
