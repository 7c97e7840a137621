// Profiles survive the way through JSON byte for byte.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "authoring/document/guid_text.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/profile_json.h"
#include "authoring/document/utf16_text.h"
#include "kinds/block_kinds.h"
#include "profile/quorvel_audio_block.h"
#include "tests/support/random_profile.h"

namespace quorvel::tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Random profiles of every kind of block.
class Maker {
  public:
    explicit Maker(unsigned seed) : random(seed) {}

    unsigned Below(std::size_t n) { return static_cast<unsigned>(random() % n); }

    // A record whose values lie in their ranges; when `isWild`, any bytes of about that length.
    Bytes Record(const RecordLayout& layout, bool isWild) {
        Bytes record = Values(layout);
        if (!isWild) return record;
        record.resize(record.size() + Below(3));
        if (Below(2) && !record.empty()) record.resize(record.size() - Below(record.size()));
        for (auto& byte : record) {
            if (Below(3) == 0) byte = static_cast<std::uint8_t>(random());
        }
        return record;
    }

    void Fill(QuorvelAudioProfile& profile) {
        test::FillRandomly(profile, random, {.blocks = 12, .links = 12});
        profile.GetChain(static_cast<DWORD>(random()), true);
        for (unsigned i = 0; i < profile.chains.Count(); ++i) {
            QuorvelAudioBlocksChain& chain = profile.chains.Item(i);
            const unsigned blocks = chain.blocks.Count();
            for (unsigned k = 0; k < blocks; ++k)
                if (Below(8)) GiveKind(chain.blocks.Item(k));
            for (unsigned k = 0; blocks && k < chain.links.Count(); ++k) {
                _QuorvelAudioBlockLink& link = chain.links.Item(k);
                link.sourceBlockId = chain.blocks.Item(Below(blocks)).id;
                if (Below(8)) link.destinationBlockId = chain.blocks.Item(Below(blocks)).id;
            }
        }
    }

  private:
    Bytes Values(const RecordLayout& layout) {
        Bytes record(layout.size);
        for (const Field& field : layout.fields) {
            if (field.kind == FieldKind::kList) {
                const std::uint32_t count = 1 + Below(20);
                std::memcpy(&record[field.offset], &count, sizeof(count));
                for (std::uint32_t i = 0; i < count; ++i) {
                    const Bytes item = Values(*field.item);
                    record.insert(record.end(), item.begin(), item.end());
                }
                continue;
            }
            if (field.kind == FieldKind::kArray) {
                for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(field.maximum); ++i) {
                    const Bytes item = Values(*field.item);
                    std::copy(item.begin(), item.end(),
                              &record[field.offset + i * field.item->size]);
                }
                continue;
            }
            if (field.kind == FieldKind::kRecord) {
                const Bytes nested = Values(*field.item);
                std::copy(nested.begin(), nested.end(), &record[field.offset]);
                continue;
            }
            std::uniform_real_distribution<double> uniform(field.minimum, field.maximum);
            const double value = uniform(random);
            if (field.kind == FieldKind::kFloat32) {
                // Stays inside the range when rounded.
                const float single = std::nextafter(static_cast<float>(value), 1.0f);
                std::memcpy(&record[field.offset], &single, sizeof(single));
            } else {
                const auto whole = static_cast<std::int32_t>(std::lround(value));
                const bool isShort =
                    field.kind == FieldKind::kChoice16 || field.kind == FieldKind::kSigned16;
                std::memcpy(&record[field.offset], &whole, isShort ? 2 : 4);
            }
        }
        return record;
    }

    // Any known kind, in half of the cases with an honest record.
    void GiveKind(QuorvelAudioBlock& block) {
        const auto kinds = AllBlockFields();
        const BlockFields& kind = kinds[Below(kinds.size())];
        block.typeId = *kind.typeId;
        if (Below(8) == 0) block.profileId = block.id;
        if (Below(8) == 0) block.chainId = static_cast<DWORD>(random());
        Bytes record = Record(kind.record, Below(2) == 0);
        block.SetData(record.data(), static_cast<unsigned>(record.size()));
    }

    std::mt19937 random;
};

RecordLayout LayoutOf(const std::string& label) {
    for (const BlockFields& kind : AllBlockFields())
        if (kind.label == label) return kind.record;
    return {};
}

TEST(JsonForm, RandomProfilesComeBackByteForByte) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        NamedProfile named;
        Maker(seed).Fill(named.profile);
        NameBlocks(named);
        const std::string text = ProfileText(named);
        NamedProfile again;
        ReadProfile(ParseJson(WriteProfile(named).dump()), again);
        ASSERT_EQ(ProfileText(again), text) << "seed " << seed;
        ASSERT_EQ(again.names, named.names) << "seed " << seed;
    }
}

TEST(JsonForm, RecordsInRangeAreWrittenByTheirFields) {
    Maker maker(1);
    for (const BlockFields& kind : AllBlockFields()) {
        for (int i = 0; i < 50; ++i) {
            const Bytes record = maker.Record(kind.record, false);
            const auto parameters = WriteParameters(record, kind.record);
            ASSERT_TRUE(parameters) << kind.label;
            const Json reread = ParseJson(parameters->dump());
            ASSERT_EQ(ReadParameters(reread, kind.record, {}), record) << kind.label;
        }
    }
}

// What the fields cannot say exactly comes out as raw data.
TEST(JsonForm, RecordsThatAreNotExactlyRepresentableAreRefused) {
    const RecordLayout gain = LayoutOf("gain"), notch = LayoutOf("notch");
    for (const auto& [value, isExact] : {std::pair(-0.0f, true),
                                         {std::nanf(""), false},
                                         {std::numeric_limits<float>::infinity(), false},
                                         {61.0f, false}}) {
        Bytes record(sizeof(value));
        std::memcpy(record.data(), &value, sizeof(value));
        EXPECT_EQ(WriteParameters(record, gain).has_value(), isExact) << value;
    }
    EXPECT_FALSE(WriteParameters({}, gain));
    const Bytes whole = {1, 0, 0, 0, 0, 0, 0x7A, 0x44, 0, 0, 0x80, 0x3F, 2, 0, 0, 0, 0, 0};
    EXPECT_TRUE(WriteParameters(whole, notch));
    for (const auto& [at, byte] : {std::pair(0, 2), {0, 0}, {3, 0xFF}, {12, 3}, {18, 0}}) {
        Bytes other = whole;
        other.resize(std::max(whole.size(), static_cast<std::size_t>(at) + 1));
        other[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(byte);
        EXPECT_FALSE(WriteParameters(other, notch)) << at;
    }
}

TEST(JsonForm, ShortestDoublesReadBackToTheSameFloat) {
    std::mt19937 random(3);
    for (int i = 0; i < 200000; ++i) {
        const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isfinite(value)) continue;
        const auto reread = ParseJson(Json::array({ShortestDouble(value)}).dump())[0];
        ASSERT_EQ(std::bit_cast<std::uint32_t>(static_cast<float>(reread.get<double>())),
                  std::bit_cast<std::uint32_t>(value));
    }
    EXPECT_EQ(Json(ShortestDouble(0.1f)).dump(), "0.1");
}

// A record of defaults makes the block that its constructor makes.
TEST(JsonForm, FieldsLeftOutTakeTheDefaultsOfTheBlock) {
    const std::pair<const char*, Bytes> rows[] = {
        {"gain", {0, 0, 0, 0}},
        {"extractor", {0, 0, 0, 0}},
        {"bypass", {2, 0, 0, 0}},
        {"expander", {0, 0, 0, 0, 0, 0, 0, 0}},
        {"compressor", {0, 0, 0, 0, 10, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0x80, 0x3F}},
        {"gate", {0, 0, 0, 0, 1, 0, 0, 0, 100, 0, 0, 0}},
        {"limiter", {0, 0, 0, 0, 1, 0, 0, 0, 10, 0, 0, 0}},
    };
    for (const auto& [label, record] : rows)
        EXPECT_EQ(ReadParameters(Json::object(), LayoutOf(label), {}), record) << label;
}

// The factory's smallest record is one with the fewest list items.
TEST(JsonForm, TheTableCoversEveryKindOfTheFactory) {
    ASSERT_EQ(AllBlockFields().size(), kBlockKinds.size());
    for (const BlockKind& kind : kBlockKinds) {
        const BlockFields* fields = FindBlockFields(kind.typeId);
        ASSERT_TRUE(fields) << kind.name;
        std::uint32_t smallest = fields->record.size;
        for (const Field& field : fields->record.fields) {
            if (field.kind == FieldKind::kList) smallest += field.item->size;
        }
        EXPECT_EQ(smallest, kind.smallestRecord) << kind.name;
    }
}

TEST(JsonForm, TextsAndGuidsSurvive) {
    const std::string texts[] = {"a", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x8E\xA7",
                                 "\x7F\xC2\x80"};
    for (const std::string& text : texts)
        EXPECT_EQ(ToUtf8(ToUtf16(text)), text);
    EXPECT_EQ(ToUtf16("\xF0\x9F\x8E\xA7"), WideText({0xD83C, 0xDFA7}));
    for (const WideText& half :
         {WideText({0xD83C}), WideText({0xDFA7, 'a'}), WideText({0xD83C, 'a'})})
        EXPECT_FALSE(ToUtf8(half));
    const std::string guid = "{41FC156B-DEF3-4CDE-B28D-913E81AA0AD3}";
    ASSERT_TRUE(ParseGuid(guid));
    EXPECT_EQ(ParseGuid(guid)->Data1, 0x41FC156Bu);
    EXPECT_EQ(ParseGuid(guid)->Data4[7], 0xD3u);
    EXPECT_EQ(GuidText(*ParseGuid(guid)), guid);
    for (const char* wrong :
         {"", "{}", "41FC156BDEF34CDEB28D913E81AA0AD3", "{41FC156B-DEF3-4CDE-B28D-913E81AA0AD3",
          "{41FC156B-DEF3-4CDE-B28D+913E81AA0AD3}", "{41FC156B-DEF3-4CDE-B28D-913E81AA0ADG}"})
        EXPECT_FALSE(ParseGuid(wrong)) << wrong;
}

}  // namespace
}  // namespace quorvel::tool
