#include "authoring/render/taps.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "authoring/document/exit_status.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/json_place.h"
#include "authoring/document/output_file.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

struct TapOption {
    GUID blockId{};
    std::string file{};
};

std::optional<GUID> FindBlockId(std::string_view block, const ChosenChain& chosen) {
    const std::optional<GUID> id = ParseGuid(block);
    for (unsigned i = 0; i < chosen.chain.blocks.Count(); ++i) {
        const GUID& known = chosen.chain.blocks.Item(i).id;
        if (chosen.names[i] == block || (id && *id == known)) return known;
    }
    return {};
}

TapOption ReadOption(const std::string& option, const ChosenChain& chosen) {
    const std::size_t first = option.find('=');
    if (first == std::string::npos || first + 1 == option.size())
        throw ToolError(ExitStatus::kUsage, "--tap: " + Quoted(option) + " is no BLOCK=FILE");
    std::optional<TapOption> found;
    for (std::size_t at = first; at + 1 < option.size(); ++at) {
        if (option[at] != '=') continue;
        const auto id = FindBlockId(std::string_view(option).substr(0, at), chosen);
        if (id) found = {*id, option.substr(at + 1)};
    }
    if (found) return *found;
    throw ToolError(ExitStatus::kUsage, "--tap: no block of the chain is called " +
                                            Quoted(std::string_view(option).substr(0, first)));
}

}  // namespace

void Tap::Open(const AudioGraph& graph, std::int64_t frames) {
    const auto block = graph.FindBlock(blockId);
    channels = static_cast<std::uint32_t>(std::clamp(block->GetOutputChannels(), 1, 8));
    const std::uint32_t sampleRate = graph.InputFormat().Format.nSamplesPerSec;  // packed there
    writer = std::make_unique<AudioWriter>(output, channels, block->GetChannelMask(), sampleRate,
                                           frames);
}

void Tap::After(const float* out, std::int32_t frames, std::int32_t width) {
    const std::size_t before = heard.size(), count = static_cast<std::size_t>(frames);
    heard.resize(before + count * channels);
    const std::size_t copied = std::min<std::size_t>(channels, static_cast<std::size_t>(width));
    for (std::size_t f = 0; f < count; ++f)
        std::copy_n(out + f * static_cast<std::size_t>(width), copied,
                    heard.data() + before + f * channels);
}

void Tap::Write(std::int64_t end) {
    heard.resize(static_cast<std::size_t>(end - written) * channels);
    writer->Write(heard.data(), end - written);
    written = end;
    heard.clear();
}

void Tap::Finish() {
    writer->Finish();
}

std::vector<std::unique_ptr<Tap>> MakeTaps(const std::vector<std::string>& options,
                                           const ChosenChain& chosen, bool mayReplace) {
    std::vector<std::unique_ptr<Tap>> taps;
    for (const std::string& option : options) {
        const auto [id, file] = ReadOption(option, chosen);
        if (std::ranges::count(taps, id, [](const auto& tap) { return tap->blockId; }) > 0)
            throw ToolError(ExitStatus::kUsage, "--tap: a block is named twice");
        taps.push_back(std::make_unique<Tap>(id, Output{file, mayReplace}));
    }
    return taps;
}

}  // namespace quorvel::tool
