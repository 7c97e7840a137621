#include "blocks/eq_filter_block.h"

#include <cstring>
#include <new>
#include <stdexcept>

#include "base/memory_shortage.h"
#include "engine/parameter_record.h"

namespace quorvel {

EQFilterBlock::EQFilterBlock(const GUID& instanceId, FilterType type)
    : AudioBlock(instanceId), filterType(type) {
    StartAfreshByClearing<EQFilterBlock>();
}

void EQFilterBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    if (bank.sampleRate != sampleRate) {
        bank.sampleRate = sampleRate;
        bank.Recompute();
    }
    ApplyBands();
}

void EQFilterBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (pending) ApplyBands();
    bank.Process(in, out, frames, static_cast<int32_t>(channels));
}

bool EQFilterBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < kSmallestFilterRecord) return false;
    const uint64_t bytes =
        sizeof(uint32_t) + uint64_t{ReadRecord<uint32_t>(data)} * sizeof(FilterBand);
    return size >= bytes && SetParameters(data);
}

bool EQFilterBlock::SetParameters(const void* record) {
    if (!record) return false;
    const std::size_t count = ReadRecord<uint32_t>(record);
    try {
        bandList.resize(count);
    } catch (const std::bad_alloc&) {
        NoteMemoryShortage();
        return false;
    } catch (const std::length_error&) {
        return false;
    }
    const char* firstBand = static_cast<const char*>(record) + sizeof(uint32_t);
    if (count > 0) std::memcpy(bandList.data(), firstBand, count * sizeof(FilterBand));
    pending = true;
    return true;
}

void EQFilterBlock::ApplyBands() {
    bank.Configure(static_cast<int32_t>(channels), static_cast<int32_t>(bandList.size()),
                   filterType, bandList.data());
    pending = false;
}

}  // namespace quorvel
