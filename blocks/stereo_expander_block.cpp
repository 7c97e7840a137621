#include "blocks/stereo_expander_block.h"

#include <algorithm>
#include <new>
#include <span>

#include "base/channel_masks.h"
#include "base/guid_order.h"
#include "base/memory_shortage.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/gain_block.h"
#include "engine/audio_graph.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr int32_t kPairWidth = 2;
constexpr uint32_t kPairMask = 0x3;  // front left, front right

// The blocks of the network in the order in which they are made.
enum Role {
    kEntry,
    kExtractL,
    kInputGainL,
    kDirectGainL,
    kLowPassL,
    kLowGainL,
    kHighPassL,
    kHighGainL,
    kMixL,
    kExtractR,
    kInputGainR,
    kDirectGainR,
    kLowPassR,
    kLowGainR,
    kHighPassR,
    kHighGainR,
    kMixR,
    kHighSum,
    kHighSumGain,
    kCombiner,
    kRoleCount,
    kNone = kRoleCount,
};

constexpr ChannelExtractorParameters kFirstChannel = {0};
constexpr ChannelExtractorParameters kSecondChannel = {1};

#pragma pack(push, 1)
struct SideBySide {
    ChannelsCombinerParameters head{2};
    int32_t channelOffsets[2] = {0, 1};
};
#pragma pack(pop)
constexpr SideBySide kSideBySide;

struct Row {
    Role role;
    const GUID* kind;
    const void* record;          // null: the defaults of the kind
    std::array<Role, 3> inputs;  // summed in this order
};

// The network. The entry alone reads the graph's input.
constexpr std::array<Row, kRoleCount> kNetwork = {{
    {kEntry, &kBypassBlockTypeId, nullptr, {kNone, kNone, kNone}},

    {kExtractL, &kChannelExtractorBlockTypeId, &kFirstChannel, {kEntry, kNone, kNone}},
    {kInputGainL, &kGainBlockTypeId, nullptr, {kExtractL, kNone, kNone}},
    {kDirectGainL, &kGainBlockTypeId, nullptr, {kInputGainL, kNone, kNone}},
    {kLowPassL, &kLowPassFilterBlockTypeId, nullptr, {kInputGainL, kNone, kNone}},
    {kLowGainL, &kGainBlockTypeId, nullptr, {kLowPassL, kNone, kNone}},
    {kHighPassL, &kHighPassFilterBlockTypeId, nullptr, {kInputGainL, kNone, kNone}},
    {kHighGainL, &kGainBlockTypeId, nullptr, {kHighPassL, kHighSumGain, kNone}},
    {kMixL, &kMixerBlockTypeId, nullptr, {kDirectGainL, kLowGainL, kHighGainL}},

    {kExtractR, &kChannelExtractorBlockTypeId, &kSecondChannel, {kEntry, kNone, kNone}},
    {kInputGainR, &kGainBlockTypeId, nullptr, {kExtractR, kNone, kNone}},
    {kDirectGainR, &kGainBlockTypeId, nullptr, {kInputGainR, kNone, kNone}},
    {kLowPassR, &kLowPassFilterBlockTypeId, nullptr, {kInputGainR, kNone, kNone}},
    {kLowGainR, &kGainBlockTypeId, nullptr, {kLowPassR, kNone, kNone}},
    {kHighPassR, &kHighPassFilterBlockTypeId, nullptr, {kInputGainR, kNone, kNone}},
    {kHighGainR, &kGainBlockTypeId, nullptr, {kHighPassR, kHighSumGain, kNone}},
    {kMixR, &kMixerBlockTypeId, nullptr, {kDirectGainR, kLowGainR, kHighGainR}},

    {kHighSum, &kMixerBlockTypeId, nullptr, {kHighPassL, kHighPassR, kNone}},
    {kHighSumGain, &kGainBlockTypeId, nullptr, {kHighSum, kNone, kNone}},
    {kCombiner, &kChannelsCombinerBlockTypeId, &kSideBySide, {kMixL, kMixR, kNone}},
}};

constexpr bool IsInOrderOfRoles() {
    for (std::size_t i = 0; i < kNetwork.size(); ++i) {
        if (kNetwork[i].role != static_cast<Role>(i)) return false;
    }
    return true;
}
static_assert(IsInOrderOfRoles());

using Blocks = std::array<BlockReference, kRoleCount>;

BlockReference MakeBlock(AudioGraph& graph, const Row& row, const Blocks& blocks) {
    const Role first = row.inputs.front();
    if (first == kNone) return graph.AddNewBlockWithParameters(row.record, *row.kind, kNullGuid);
    return graph.AppendNewBlockWithParameters(row.record, *row.kind, kNullGuid, blocks[first]);
}

// Whether the block has its record. The factory does not tell of one that was refused, as the
// combiner's is when its offsets find no memory, so it is given once more.
bool HasRecord(AudioBlock& block, const Row& row) {
    return !row.record || block.SetParameters(row.record);
}

// Links what is still missing between the block just made and those before it: its own further
// inputs, then the ones that have waited for it.
void LinkNewBlock(AudioGraph& graph, const Row& row, const Blocks& blocks) {
    for (const Role input : std::span(row.inputs).subspan(1)) {
        if (input < row.role) graph.LinkBlocks(blocks[input], blocks[row.role]);
    }
    for (const Row& earlier : std::span(kNetwork).first(row.role)) {
        const auto further = std::span(earlier.inputs).subspan(1);
        if (std::ranges::find(further, row.role) == further.end()) continue;
        graph.LinkBlocks(blocks[row.role], blocks[earlier.role]);
    }
}

// Throws std::bad_alloc when a block, or a buffer between two of them, cannot be had.
Blocks MakeBlocks(AudioGraph& graph) {
    Blocks blocks;
    graph.SetUpdating(true);
    for (const Row& row : kNetwork) {
        blocks[row.role] = MakeBlock(graph, row, blocks);
        if (!blocks[row.role] || !HasRecord(*blocks[row.role], row)) throw std::bad_alloc();
        LinkNewBlock(graph, row, blocks);
    }
    graph.SetUpdating(false);
    if (!graph.IsValid()) throw std::bad_alloc();
    return blocks;
}

void SetGain(std::span<const BlockReference> gains, float gainDb) {
    const GainParameters record{gainDb};
    for (const BlockReference& gain : gains)
        gain->SetParameters(&record);
}

#pragma pack(push, 1)
struct OneBandFilter {
    uint32_t count = 1;
    FilterBand band;
};
#pragma pack(pop)
static_assert(sizeof(OneBandFilter) == 18);

void SetBand(std::span<const BlockReference> filters, const FilterBand& band) {
    const OneBandFilter record{1, band};
    for (const BlockReference& filter : filters)
        filter->SetParameters(&record);
}

}  // namespace

StereoExpanderBlock::StereoExpanderBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kStereoExpanderBlockTypeId;
    StartAfreshByClearing<StereoExpanderBlock>();
    try {
        BuildNetwork();
    } catch (const std::bad_alloc&) {
        NoteMemoryShortage();
        network.reset();
    }
}

StereoExpanderBlock::~StereoExpanderBlock() = default;

void StereoExpanderBlock::BuildNetwork() {
    network = std::make_unique<AudioGraph>();
    network->ThrowWithoutMemory();
    const Blocks blocks = MakeBlocks(*network);
    inputGain = {blocks[kInputGainL], blocks[kInputGainR]};
    directGain = {blocks[kDirectGainL], blocks[kDirectGainR]};
    lowGain = {blocks[kLowGainL], blocks[kLowGainR]};
    highGain = {blocks[kHighGainL], blocks[kHighGainR]};
    lowPass = {blocks[kLowPassL], blocks[kLowPassR]};
    highPass = {blocks[kHighPassL], blocks[kHighPassR]};
    highSumGain = blocks[kHighSumGain];
}

int32_t StereoExpanderBlock::GetOutputChannels() const {
    return kPairWidth;
}

uint32_t StereoExpanderBlock::GetChannelMask() const {
    return kPairMask;
}

// The network's entry folds its input down by the speakers of the mask. With the mask of a plain
// pair it takes the first two channels of any wider frame as they are, which is what is wanted
// here; with the input's own it would mix the other speakers in, or, where it knows no routine for
// them, give nothing at all.
void StereoExpanderBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    isFormatSet = network && width > 0 && width <= UINT16_MAX;
    if (!isFormatSet) return;
    const auto heard = static_cast<uint32_t>(std::min(width, kPairWidth));
    network->SetInputFormat(static_cast<uint16_t>(width), DefaultChannelMask(heard), sampleRate);
    network->SetOutputFormat(kPairWidth, kPairMask, sampleRate);
}

void StereoExpanderBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (isFormatSet) {
        network->Process(in, out, frames);
    } else {
        std::fill_n(out, int64_t{kPairWidth} * std::max(frames, 0), 0.0f);
    }
}

void StereoExpanderBlock::ClearState() QUORVEL_REAL_TIME {
    if (network) network->StartAfresh();
}

bool StereoExpanderBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(StereoExpanderParameters)) return false;
    return SetParameters(data);
}

bool StereoExpanderBlock::SetParameters(const void* record) {
    if (!record) return false;
    if (!network) return true;
    const auto parameters = ReadRecord<StereoExpanderParameters>(record);
    SetGain(inputGain, parameters.inputGainDb);
    SetGain(directGain, parameters.directGainDb);
    SetGain(lowGain, parameters.lowGainDb);
    SetGain(highGain, parameters.highGainDb);
    SetGain({&highSumGain, 1}, parameters.highSumGainDb);
    SetBand(lowPass, parameters.lowPassBand);
    SetBand(highPass, parameters.highPassBand);
    return true;
}

}  // namespace quorvel
