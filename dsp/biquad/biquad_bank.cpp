#include "dsp/biquad/biquad_bank.h"

#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "base/memory_shortage.h"
#include "dsp/biquad/biquad_design.h"

namespace quorvel {
namespace {

// What the allocate function is never asked for.
constexpr uint64_t kMostSections = std::numeric_limits<std::size_t>::max() / sizeof(BiquadSection);

BiquadSection* AllocateSections(int32_t channels, int32_t bands,
                                BiquadBank::AllocateFunction allocate) {
    if (channels < 0 || bands < 0) return nullptr;
    const uint64_t count = uint64_t{static_cast<uint32_t>(channels)} * static_cast<uint32_t>(bands);
    if (count > kMostSections) return nullptr;
    const auto size = static_cast<std::size_t>(count);
    auto* sections = static_cast<BiquadSection*>(allocate(size * sizeof(BiquadSection)));
    if (sections) std::uninitialized_value_construct_n(sections, size);
    return sections;
}

}  // namespace

void* BiquadBank::AllocateGlobally(std::size_t bytes) {
    return ::operator new(bytes, std::nothrow);
}

void BiquadBank::ReleaseGlobally(void* memory) {
    ::operator delete(memory);
}

BiquadBank::~BiquadBank() {
    ReleaseSections();
}

void BiquadBank::ReleaseSections() {
    if (sections) release(sections);
    sections = nullptr;
}

// Whether there are sections to fill, or none are needed.
bool BiquadBank::Shape(int32_t channelCount, int32_t bandCount, FilterType filterType) {
    if (channels != channelCount || bands != bandCount || type != filterType) {
        channels = channelCount;
        bands = bandCount;
        type = filterType;
        kernel = ChooseBiquadKernel();
        ReleaseSections();
        sections = AllocateSections(channels, bands, allocate);
    }
    const bool isUsable = bands == 0 || sections;
    if (!isUsable) NoteMemoryShortage();
    return isUsable;
}

void BiquadBank::ComputeSection(BiquadSection& section) {
    valid = sampleRate != 0 && ComputeCoefficients(section, sampleRate) && valid;
}

void BiquadBank::Configure(int32_t channelCount, int32_t bandCount, FilterType filterType,
                           const FilterBand* bandList) {
    if (!Shape(channelCount, bandCount, filterType)) return;
    valid = true;
    BiquadSection* section = sections;
    for (int32_t c = 0; c < channels; ++c) {
        for (int32_t b = 0; b < bands; ++b, ++section) {
            section->type = type;
            section->band = bandList[b];
            ComputeSection(*section);
        }
    }
}

void BiquadBank::ConfigureTyped(const std::array<TypedFilterBand, 2>& records) {
    if (!Shape(2, 2, records[0].type)) return;
    valid = true;
    BiquadSection* section = sections;
    for (int32_t c = 0; c < channels; ++c) {
        for (const TypedFilterBand& record : records) {
            section->type = record.type;
            section->band = record.band;
            ComputeSection(*section++);
        }
    }
}

void BiquadBank::Recompute() {
    valid = true;
    if (!sections) return;
    const int64_t count = int64_t{channels} * bands;
    for (int64_t i = 0; i < count; ++i)
        ComputeSection(sections[i]);
}

void BiquadBank::ClearPast() QUORVEL_REAL_TIME {
    const int64_t count = sections ? int64_t{channels} * bands : 0;
    for (int64_t i = 0; i < count; ++i)
        sections[i].x1 = sections[i].x2 = sections[i].y1 = sections[i].y2 = 0.0f;
}

void BiquadBank::Process(const float* in, float* out, int32_t frames,
                         int32_t width) QUORVEL_REAL_TIME {
    if (frames <= 0 || width <= 0) return;
    const bool filters = valid && sections && bands > 0;
    const int32_t filtered = channels < width ? channels : width;
    if (in != out && (!filters || filtered < width)) {
        const std::size_t samples = static_cast<std::size_t>(frames) * static_cast<uint32_t>(width);
        std::memcpy(out, in, samples * sizeof(float));
        in = out;
    }
    if (filters) kernel({sections, bands, filtered, in, out, frames, width});
}

}  // namespace quorvel
