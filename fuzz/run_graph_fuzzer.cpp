// Builds a graph from garbage, edits it, and runs sound through it: whatever a driver sends,
// nothing is read or written out of bounds and nothing hangs.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/audio_graph.h"
#include "engine/sample_check.h"
#include "engine/sample_guard.h"
#include "kinds/block_kinds.h"
#include "kinds/block_type_ids.h"

namespace {

using namespace quorvel;

// Takes numbers and records off the input until it is used up, zeros from then on.
class Garbage {
  public:
    Garbage(const uint8_t* bytes, std::size_t size) : next(bytes), left(size) {}

    uint8_t Byte() {
        if (left == 0) return 0;
        --left;
        return *next++;
    }

    std::vector<uint8_t> Record(std::size_t size) {
        std::vector<uint8_t> record(size);
        std::ranges::generate(record, [this] { return Byte(); });
        return record;
    }

    bool IsEmpty() const { return left == 0; }

  private:
    const uint8_t* next;
    std::size_t left;
};

GUID IdOf(uint8_t number) {
    GUID id{};
    id.Data4[7] = static_cast<uint8_t>(number % 16 + 1);
    return id;
}

// A width that no memory holds ends the process by design, so 32-bit fields of the blocks that
// choose their own width are kept small; negative ones stay.
void TameWidths(const GUID& typeId, std::vector<uint8_t>& record) {
    const bool choosesWidth = typeId == kStreamExpanderBlockTypeId ||
                              typeId == kBypassBlockTypeId ||
                              typeId == kChannelsCombinerBlockTypeId;
    if (!choosesWidth) return;
    for (std::size_t i = 0; i + 4 <= record.size(); i += 4) {
        const bool isNegative = typeId == kChannelsCombinerBlockTypeId && (record[i] & 0x80);
        const uint8_t high = isNegative ? 0xFF : 0;
        record[i] = isNegative ? record[i] : record[i] % 12;
        std::memset(&record[i + 1], high, 3);
    }
}

void AddBlock(AudioGraph& graph, Garbage& garbage) {
    const auto kinds = kBlockKinds;
    const BlockKind& kind = kinds[garbage.Byte() % kinds.size()];
    const GUID id = IdOf(garbage.Byte());
    auto record = garbage.Record(garbage.Byte() % 64);
    TameWidths(kind.typeId, record);
    if (const auto block = graph.FindBlock(id); block && block->GetTypeId() == kind.typeId) {
        block->SetParameterData(record.data(), static_cast<uint32_t>(record.size()));
        return;
    }
    graph.AddNewBlock(kind.typeId, record.data(), static_cast<uint32_t>(record.size()), id);
}

void SetFormats(AudioGraph& graph, Garbage& garbage) {
    constexpr uint32_t kRates[] = {8000, 44100, 48000, 192000};
    const uint32_t rate = kRates[garbage.Byte() % 4];
    const AudioFormat input = MakeFloatFormat(garbage.Byte() % 9 + 1, garbage.Byte(), rate);
    const AudioFormat output = MakeFloatFormat(garbage.Byte() % 9 + 1, 0, rate);
    graph.SetFormats(&input.Format, &output.Format);
}

// The heap blocks are exactly as large as the formats say, so that the sanitizer sees every step
// beyond them.
void Run(AudioGraph& graph, Garbage& garbage) {
    const int32_t frames = garbage.Byte() * 3;
    const auto samples = [&](const AudioFormat& format) {
        return static_cast<std::size_t>(frames) * format.Format.nChannels;
    };
    std::vector<float> in(samples(graph.InputFormat())), out(samples(graph.OutputFormat()));
    const auto level = static_cast<float>(garbage.Byte()) / 64.0f;
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = level * std::sin(static_cast<float>(i));
    if (!in.empty() && garbage.Byte() > 250) in[0] = std::nanf("");
    SampleGuard().Process(graph, in.data(), out.data(), frames);
    if (!AreFinite(out.data(), static_cast<int64_t>(out.size()))) std::abort();
}

void Step(AudioGraph& graph, Garbage& garbage) {
    switch (garbage.Byte() % 8) {
        case 0:
        case 1:
            return AddBlock(graph, garbage);
        case 2:
        case 3:
            return graph.LinkById(IdOf(garbage.Byte()), IdOf(garbage.Byte()));
        case 4:
            return graph.UnlinkById(IdOf(garbage.Byte()), IdOf(garbage.Byte()));
        case 5:
            return graph.RemoveBlockById(IdOf(garbage.Byte()));
        case 6:
            graph.SetUpmixMode(garbage.Byte() % 4);
            graph.SetChannelDetectionHold(garbage.Byte());
            return SetFormats(graph, garbage);
        default:
            return Run(graph, garbage);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
    Garbage garbage(bytes, size);
    AudioGraph graph;
    SetFormats(graph, garbage);
    for (int step = 0; step < 200 && !garbage.IsEmpty(); ++step)
        Step(graph, garbage);
    Run(graph, garbage);
    return 0;
}
