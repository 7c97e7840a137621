#include "tests/support/graph_model/graph_model.h"

#include <algorithm>

#include "engine/audio_format.h"
#include "engine/block_factory.h"
#include "kinds/block_type_ids.h"

namespace quorvel::model {
namespace {

struct AdapterRecord {
    int32_t width;
    uint32_t mode;
};

Format FormatOf(const WAVEFORMATEX* wave) {
    const AudioFormat format = CopyFormat(*wave);
    return {format.Format.nChannels, format.dwChannelMask, format.Format.nSamplesPerSec};
}

Format FormatOf(uint16_t width, uint32_t mask, uint32_t rate) {
    return {width, mask == 0 ? DefaultChannelMask(width) : mask, rate};
}

// Frames of `width` channels as frames of `outWidth`: the first channels, and silence for more.
Samples Refitted(const Samples& in, int32_t width, int32_t outWidth, int32_t frames) {
    Samples out;
    for (int32_t f = 0; f < frames; ++f) {
        for (int32_t c = 0; c < outWidth; ++c)
            out.push_back(c < width ? in[static_cast<std::size_t>(f * width + c)] : 0.0f);
    }
    return out;
}

}  // namespace

GraphModel::GraphModel() {
    limiter.SetAttack(0.0);
    limiter.SetRelease(200.0);
    limiter.SetThreshold(0.0);
    limiter.SetRatio(0.1);
    limiter.ResetRuntime();
}

// --- Structure

void GraphModel::Clear(bool resetFormats) {
    network = {};
    nodes.clear();
    adapterType = nullptr;
    lastActive = 0;
    detector = {};
    if (resetFormats) input = processing = output = {};
    Rebuild();
}

void GraphModel::SetUpdating(bool updating) {
    suspended = updating;
    Rebuild();
}

void GraphModel::AddNewBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id) {
    AddBlockAndConnect(CreateBlockWithData(typeId, data, size, id));
}

bool GraphModel::AddBlockAndConnect(const BlockReference& block) {
    const BlockId id = IdOf(block->GetId());
    if (!network.Add(id, block)) return false;
    network.UpdateTail(id);
    Rebuild();
    return true;
}

void GraphModel::AppendNewBlockWithParameters(const void* record, const GUID& typeId,
                                              const GUID& id, const BlockReference& after) {
    AppendBlock(CreateBlockWithParameters(record, typeId, id), after);
}

void GraphModel::AppendBlock(const BlockReference& block, const BlockReference& after) {
    const BlockId id = IdOf(block->GetId());
    BlockId source{};
    if (after) source = IdOf(after->GetId());
    if (after && !network.Find(source)) return;
    network.Add(id, block);
    if (!after && !network.Tails().empty()) source = *network.Tails().begin();
    if (network.Find(source)) {
        network.RemoveInternal();
        network.Link(source, id);
    }
    network.UpdateTail(id);
    Rebuild();
}

void GraphModel::ReplaceBlock(const GUID& typeId, const void* data, uint32_t size, const GUID& id) {
    if (network.Replace(IdOf(id), CreateBlockWithData(typeId, data, size, id))) Rebuild();
}

void GraphModel::LinkById(const GUID& source, const GUID& destination) {
    if (network.Link(IdOf(source), IdOf(destination))) Rebuild();
}

void GraphModel::UnlinkById(const GUID& source, const GUID& destination) {
    if (network.Unlink(IdOf(source), IdOf(destination))) Rebuild();
}

void GraphModel::RemoveBlockById(const GUID& id) {
    if (network.Remove(IdOf(id))) Rebuild();
}

void GraphModel::Rebuild() {
    if (suspended) return;
    Build();
    Reconfigure();
}

void GraphModel::Build() {
    std::vector<BlockId> order;
    valid = network.Build(order);
    nodes.clear();
    adapterType = nullptr;
    for (const BlockId& id : order) {
        Node& node = nodes.emplace_back();
        node.id = id;
        node.block = network.Find(id);
        for (const BlockId& source : network.Blocks().at(id).inputs) {
            const auto at = std::ranges::find(order, source) - order.begin();
            node.inputs.push_back(static_cast<std::size_t>(at));
        }
    }
}

// --- Configuration

bool GraphModel::SetRecord(const GUID& id, const void* data, uint32_t size) {
    AudioBlock& block = *FindBlock(id);
    const int32_t width = block.GetOutputChannels();
    const uint32_t mask = block.GetChannelMask();
    if (!block.SetParameterData(data, size)) return false;
    const bool changed = block.GetOutputChannels() != width || block.GetChannelMask() != mask;
    if (changed && !suspended) Reconfigure();
    return true;
}

void GraphModel::Reconfigure() {
    if (processing.width == 0 || output.width == 0) return;
    for (Node& node : nodes)
        Configure(node);
    FitOutput();
    limiter.SetSampleRate(processing.rate == 0 ? 48000 : processing.rate);
}

void GraphModel::Configure(Node& node) const {
    const auto rate = static_cast<int32_t>(processing.rate == 0 ? 48000 : processing.rate);
    std::vector<BlockInput> sources;
    for (const std::size_t i : node.inputs)
        sources.push_back({nodes[i].block, nullptr, {}});
    const auto width = [](const BlockInput& s) { return s.source->GetOutputChannels(); };
    node.mixWidth = 0;
    if (sources.empty()) {
        node.block->SetFormat(processing.width, processing.mask, rate);
    } else {
        const auto widest = std::ranges::max_element(sources, {}, width);
        const int32_t narrowest = width(*std::ranges::min_element(sources, {}, width));
        if (sources.size() == 1 || node.block->WantsUniformInputs()) {
            node.block->SetFormat(width(*widest), widest->source->GetChannelMask(), rate);
            if (sources.size() > 1) node.mixWidth = width(*widest);
        } else {
            node.block->SetInputsFormat(sources, narrowest, width(*widest), rate);
        }
    }
    node.width = node.block->GetOutputChannels();
}

void GraphModel::DropAdapter() {
    if (!adapterType) return;
    nodes.pop_back();
    network.Remove(kAdapterId);
    adapterType = nullptr;
}

// An adapter of the same type stays, since it remembers how it spread a mono stream.
void GraphModel::FitOutput() {
    const std::size_t blocks = nodes.size() - (adapterType ? 1 : 0);
    const int32_t width = blocks ? nodes[blocks - 1].block->GetOutputChannels() : processing.width;
    if (output.width == 0) return;
    const GUID* type = nullptr;
    if (width != 0 && output.width > width) type = &kStreamExpanderBlockTypeId;
    if (output.width < width) type = &kBypassBlockTypeId;
    if (type != adapterType) DropAdapter();
    if (!type) return;
    const AdapterRecord record{output.width, upmixMode};
    if (!adapterType) {
        Node& adapter = nodes.emplace_back();
        adapter.id = kAdapterId;
        adapter.block = CreateBlockWithParameters(&record, *type, kInternalId);
        network.Add(kAdapterId, adapter.block);
        if (blocks) network.Link(nodes[blocks - 1].id, kAdapterId);
        if (blocks) adapter.inputs = {blocks - 1};
        adapterType = type;
    }
    nodes.back().block->SetParameters(&record);
    Configure(nodes.back());
}

// --- Formats and settings

void GraphModel::SetInputFormat(uint16_t width, uint32_t mask, uint32_t rate) {
    StoreInput(FormatOf(width, mask, rate));
    Reconfigure();
}

void GraphModel::SetOutputFormat(uint16_t width, uint32_t mask, uint32_t rate) {
    output = FormatOf(width, mask, rate);
    Reconfigure();
}

void GraphModel::SetFormats(const WAVEFORMATEX* in, const WAVEFORMATEX* out) {
    output = FormatOf(out);
    StoreInput(FormatOf(in));
    limiter.ResetRuntime();
    Reconfigure();
}

void GraphModel::StoreInput(const Format& format) {
    input = processing = format;
    detector = {};
    SetChannelDetectionHold(holdMs);
    scan.DrawNoise();
}

void GraphModel::SetUpmixMode(uint32_t mode) {
    upmixMode = mode;
    if (!suspended) FitOutput();
}

void GraphModel::SetChannelDetectionHold(uint32_t milliseconds) {
    holdMs = milliseconds == 0xFFFFFFFF ? 5000 : milliseconds;
    detector.holdFrames = static_cast<uint32_t>(static_cast<float>(input.rate) /
                                                (1000.0 / static_cast<float>(holdMs)));
}

// --- Running

void GraphModel::Reset() {
    for (const auto& [id, entry] : network.Blocks())
        entry.block->Reset();
}

uint32_t GraphModel::Process(Samples& in, Samples& out, int32_t frames) {
    const uint32_t speakers = scan.Run(in, input.width, input.mask, noiseEnabled);
    if (speakers != lastActive) told.push_back(speakers);
    lastActive = speakers;
    FollowSignal(speakers, frames);
    if (suspended && !IsConfigured()) Reconfigure();

    const Samples chainInput = Refitted(in, input.width, processing.width, frames);
    for (Node& node : nodes)
        Run(node, chainInput, frames);
    out = nodes.empty() ? in : nodes.back().out;  // without a chain the input is not narrowed
    out.resize(static_cast<std::size_t>(frames * output.width), 0.0f);
    Limit(out);
    return speakers;
}

void GraphModel::FollowSignal(uint32_t speakers, int32_t frames) {
    detector.Update(speakers, frames);
    Format wanted = input;
    if (holdMs != 0 && input.width > 2 && detector.active != 0) {
        wanted.width = detector.active;
        wanted.mask = detector.activeMask;
    }
    if (wanted.width == processing.width) return;
    processing = wanted;
    Reconfigure();
}

// Whether no block has another width than the one it was configured with. While the graph is
// suspended, a block's new record changes its width behind the graph's back.
bool GraphModel::IsConfigured() const {
    const int32_t last = nodes.empty() ? processing.width : nodes.back().width;
    const auto isAsBefore = [](const Node& n) { return n.block->GetOutputChannels() == n.width; };
    return last == output.width && std::ranges::all_of(nodes, isAsBefore);
}

// Narrower inputs are widened where they lie: who reads them later reads what has become of them.
void GraphModel::Run(Node& node, const Samples& chainInput, int32_t frames) {
    std::vector<BlockReference> sources;
    std::vector<const Samples*> inputs;
    for (const std::size_t i : node.inputs) {
        Node& source = nodes[i];
        if (source.width < node.mixWidth) {
            source.out = Refitted(source.out, source.width, node.mixWidth, frames);
        }
        sources.push_back(source.block);
        inputs.push_back(&source.out);
    }
    if (inputs.empty()) inputs.push_back(&chainInput);
    node.out = inputs.size() == 1 ? RunBlock(*node.block, *inputs.front(), frames)
                                  : RunBlock(*node.block, sources, inputs, frames);
}

void GraphModel::Limit(Samples& out) {
    const auto width = static_cast<std::size_t>(output.width);
    for (std::size_t f = 0; f < out.size(); f += width) {
        double peak = 0.0;
        for (std::size_t c = 0; c < width; ++c)
            peak = std::max(peak, std::fabs(static_cast<double>(out[f + c])));
        const double gain = limiter.ComputeGain(peak);
        for (std::size_t c = 0; c < width; ++c)
            out[f + c] = static_cast<float>(static_cast<double>(out[f + c]) * gain);
    }
}

}  // namespace quorvel::model
