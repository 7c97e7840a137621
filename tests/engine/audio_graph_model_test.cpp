// The graph against its plain model, over random lives: edits, formats, settings and buffers.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <random>

#include "kinds/block_type_ids.h"
#include "tests/support/graph_model/graph_pair.h"
#include "tests/support/probe_block.h"

namespace quorvel {
namespace {

using test::NumberedId;

constexpr uint32_t kBlocks = 6;  // ids 1 to 6

class Life {
  public:
    explicit Life(uint32_t seed) : random(seed) {}

    // Returns what differed, with the step; empty when nothing did.
    std::string Run(int steps) {
        Do("formats", [in = AnyFormat(), out = AnyFormat()](auto& g) {
            g.SetInputFormat(in.width, in.mask, in.rate);
            g.SetOutputFormat(out.width, out.mask, out.rate);
        });
        for (uint32_t n = 1; n <= kBlocks && Below(4) != 0; ++n) {  // a tree, so that much is valid
            Add(NumberedId(n));
            if (n > 1) Link(NumberedId(1 + Below(n - 1)), NumberedId(n));
        }
        for (int step = 0; step < steps; ++step) {
            Step();
            if (!pair.Difference().empty())
                return "step " + std::to_string(step) + ": " + pair.Difference();
            validRuns += pair.Graph().IsValid() && pair.Graph().Nodes().size() > 2;
        }
        return {};
    }

    int ValidRuns() const { return validRuns; }

  private:
    struct AnyWave {
        uint16_t width;
        uint32_t mask;
        uint32_t rate;
    };

    template <typename Change>
    void Do(const char* step, Change&& change) {
        pair.Do(step, std::forward<Change>(change));
    }

    // Now and then the change fails first.
    template <typename Change>
    void DoAtLast(const char* step, Change&& change) {
        if (!suspended && Below(3) == 0) pair.DoInVain(step, change);
        pair.Do(step, std::forward<Change>(change));
    }

    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }
    uint32_t OneOf(std::initializer_list<uint32_t> values) {
        return values.begin()[Below(static_cast<uint32_t>(values.size()))];
    }
    GUID AnyBlock() { return NumberedId(1 + Below(kBlocks)); }

    AnyWave AnyFormat() {
        return {static_cast<uint16_t>(OneOf({1, 2, 2, 4, 5, 6, 8, 8})),
                OneOf({0, 0, 0, 0x3F, 0x107, 0xFF, 0x30, 0x60F}),
                OneOf({8000, 44100, 48000, 96000, 0})};
    }

    std::vector<uint8_t> Bytes(std::initializer_list<uint32_t> fields) {
        std::vector<uint8_t> record(4 * fields.size());
        std::memcpy(record.data(), fields.begin(), record.size());
        if (Below(20) == 0) record.pop_back();  // one byte short: refused
        return record;
    }

    std::vector<uint8_t> AnyRecord(const GUID& type) {
        const float gainDb = static_cast<float>(Below(24)) - 15.0f;
        if (type == kGainBlockTypeId) return Bytes({std::bit_cast<uint32_t>(gainDb)});
        if (type == kChannelExtractorBlockTypeId) return Bytes({Below(10) - 1});
        if (type == kBypassBlockTypeId) return Bytes({OneOf({0, 1, 1, 2, 2, 2, 3})});
        if (type == kStreamExpanderBlockTypeId) return Bytes({OneOf({0, 2, 4, 6, 8}), Below(4)});
        return Bytes({2, Below(4) - 1, Below(4) - 1});  // the combiner's; others take anything
    }

    void Add(const GUID& id) {
        static constexpr std::array kKinds = {kMixerBlockTypeId,
                                              kGainBlockTypeId,
                                              kBypassBlockTypeId,
                                              kChannelExtractorBlockTypeId,
                                              kChannelsCombinerBlockTypeId,
                                              kStreamExpanderBlockTypeId};
        const uint32_t kind = Below(kKinds.size() + 4);
        const bool replaces = Below(3) == 0;
        if (kind < kKinds.size()) {
            return DoAtLast("add or replace", [=, record = AnyRecord(kKinds[kind])](auto& g) {
                const auto size = static_cast<uint32_t>(record.size());
                g.AddNewBlock(kKinds[kind], record.data(), size, id);
                if (replaces) g.ReplaceBlock(kKinds[kind], record.data(), size, id);
            });
        }
        test::ProbeBlock probe(id);
        probe.scale = 0.5f + static_cast<float>(Below(8)) / 5.0f;
        probe.offset = Below(4) == 0 ? 0.01f : 0.0f;
        probe.fixedWidth = static_cast<int32_t>(OneOf({0, 0, 1, 3, 6}));
        probe.canProcessInPlace = Below(2) == 0;
        DoAtLast("add probe",
                 [&](auto& g) { g.AddBlockAndConnect(std::make_shared<test::ProbeBlock>(probe)); });
    }

    void Append(const GUID& id, const GUID& after) {
        const bool behindFirstTail = Below(3) == 0;
        DoAtLast("append", [&](auto& g) {
            const auto source = g.FindBlock(after);
            if (!source && !behindFirstTail) return;
            g.AppendNewBlockWithParameters(nullptr, kMixerBlockTypeId, id,
                                           behindFirstTail ? nullptr : source);
        });
    }

    void Link(const GUID& a, const GUID& b) {
        const bool mayCycle = Below(12) == 0;
        const bool turn = !mayCycle && GuidLess{}(b, a);
        DoAtLast("link", [&](auto& g) { g.LinkById(turn ? b : a, turn ? a : b); });
    }

    // What a suspended graph does between a change of its structure and the next build is left
    // open.
    void Step() {
        if (Below(3) == 0) return Edit();
        if (suspended && edited) SetUpdating(false);
        Play();
    }

    void SetUpdating(bool updating) {
        suspended = updating;
        edited = false;
        Do("set updating", [=](auto& g) { g.SetUpdating(updating); });
    }

    void Edit() {
        edited = true;
        const GUID a = AnyBlock(), b = AnyBlock();
        switch (Below(9)) {
            case 0:
            case 1:
                return Add(a);
            case 2:
                return Append(a, b);
            case 3:
                return DoAtLast("unlink", [&](auto& g) { g.UnlinkById(a, b); });
            case 4:
                return DoAtLast("remove", [&](auto& g) { g.RemoveBlockById(a); });
            case 5:
                return Below(8) == 0 ? Restart() : Do("reset", [](auto& g) { g.Reset(); });
            default:
                return Link(a, b);
        }
    }

    void Restart() {
        const bool resetFormats = Below(2) == 0;
        const auto clear = [=](auto& g) { g.Clear(resetFormats); };
        if (!resetFormats) return DoAtLast("clear", clear);
        Do("clear with the formats", clear);  // and with the buffers: it cannot be undone
        SetFormats();
    }

    void SetFormats() {
        const AnyWave a = AnyFormat(), b = AnyFormat();
        const AudioFormat in = MakeFloatFormat(a.width, a.mask, a.rate);
        const AudioFormat out = MakeFloatFormat(b.width, b.mask, b.rate);
        DoAtLast("set formats", [&](auto& g) { g.SetFormats(&in.Format, &out.Format); });
    }

    void Play() {
        const AnyWave wave = AnyFormat();
        const uint32_t hold = OneOf({0, 1, 5, 30, 0xFFFFFFFF}), any = Below(4);
        switch (Below(20)) {
            case 0:
            case 1:
                return SetRecord(AnyBlock());
            case 2:
                return SetUpdating(!suspended);
            case 3:
                return DoAtLast("set input format", [&](auto& g) {
                    g.SetInputFormat(wave.width, wave.mask, wave.rate);
                });
            case 4:
                return DoAtLast("set output format", [&](auto& g) {
                    g.SetOutputFormat(wave.width, wave.mask, wave.rate);
                });
            case 5:
                return SetFormats();
            case 6:
                return Do("set upmix mode", [&](auto& g) { g.SetUpmixMode(any); });
            case 7:
                return Do("set hold", [&](auto& g) { g.SetChannelDetectionHold(hold); });
            case 8:
                return Do("set noise", [&](auto& g) { g.SetNoiseEnabled(any < 2); });
            default:
                return Process();
        }
    }

    void SetRecord(const GUID& id) {
        const auto block = pair.Graph().FindBlock(id);
        if (block) pair.SetRecord(id, AnyRecord(block->GetTypeId()));
    }

    // Each channel is silent, faint, just below what counts as signal, quiet, or too loud.
    void Process() {
        static constexpr std::array kLevels = {0.0f, 9e-5f, model::kAudible, 0.25f, 3.0f};
        const auto frames = static_cast<int32_t>(OneOf({1, 2, 7, 48, 90, 480, 1000}));
        const uint32_t width = pair.Graph().InputFormat().Format.nChannels;
        std::array<float, 8> levels{};
        for (float& level : levels)
            level = kLevels[Below(kLevels.size())];
        if (Below(3) == 0) std::fill(levels.begin() + 2, levels.end(), 0.0f);
        model::Samples in(static_cast<std::size_t>(frames) * width);
        std::uniform_real_distribution<float> anywhere(-1.0f, 1.0f);
        for (std::size_t i = 0; i < in.size(); ++i) {
            const float level = levels[i % width], x = anywhere(random);
            in[i] = level == model::kAudible ? std::copysign(level, x) : level * x;
        }
        pair.Process(in, frames, Below(3) == 0);
    }

    std::mt19937 random;
    model::GraphPair pair;
    bool suspended = false;
    bool edited = false;  // since the suspension began
    int validRuns = 0;
};

TEST(AudioGraphModel, RandomLivesAgreeWithTheModel) {
    int validRuns = 0;
    for (uint32_t seed = 1; seed <= 500; ++seed) {
        Life life(seed);
        ASSERT_EQ(life.Run(80), "") << "seed " << seed;
        validRuns += life.ValidRuns();
    }
    EXPECT_GT(validRuns, 5000);  // the lives must reach graphs worth comparing
}

}  // namespace
}  // namespace quorvel
