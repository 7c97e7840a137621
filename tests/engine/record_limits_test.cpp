// Which records an object refuses, number by number.
#include "engine/record_limits.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr uint32_t kNegative = 0xFFFFFFFF;

// The 32-bit numbers at `offset` and at `last` of a record of `size` bytes.
constexpr struct {
    const char* what;
    GUID typeId;
    uint32_t size;
    uint32_t offset;
    uint32_t last;
    uint32_t most;
} kRows[] = {
    {"width of a bypass", kBypassBlockTypeId, 4, 0, 0, 64},
    {"width of an expander", kStreamExpanderBlockTypeId, 8, 0, 0, 64},
    {"bands", kBandPassFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kHighPassFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kHighShelfFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kLowPassFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kLowShelfFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kNotchFilterBlockTypeId, 18, 0, 0, 1024},
    {"bands", kPeakingEQFilterBlockTypeId, 18, 0, 0, 1024},
    {"number of offsets", kChannelsCombinerBlockTypeId, 4, 0, 0, 4096},
    {"look-ahead", kLimiterBlockTypeId, 12, 4, 4, 1000},
    {"delays of a decoder", kMatrixDecoderBlockTypeId, 132, 36, 128, 1000},
    {"delays of a surround block", kSurroundBlockTypeId, 136, 40, 132, 1000},
};

std::vector<uint8_t> RecordWith(uint32_t size, uint32_t offset, uint32_t value) {
    std::vector<uint8_t> record(size);
    std::memcpy(record.data() + offset, &value, sizeof(value));
    return record;
}

bool IsTaken(const GUID& typeId, const std::vector<uint8_t>& record) {
    return IsWithinLimits(typeId, record.data(), static_cast<uint32_t>(record.size()));
}

TEST(RecordLimits, TheLargestIsTakenAndOneMoreIsNot) {
    for (const auto& row : kRows) {
        for (const uint32_t offset : {row.offset, row.last}) {
            const auto record = [&](uint32_t value) { return RecordWith(row.size, offset, value); };
            EXPECT_TRUE(IsTaken(row.typeId, record(row.most))) << row.what;
            EXPECT_FALSE(IsTaken(row.typeId, record(row.most + 1))) << row.what;
            EXPECT_FALSE(IsTaken(row.typeId, record(kNegative))) << row.what;
        }
        const auto beside = RecordWith(row.size + 4, row.last + 4, kNegative);
        EXPECT_TRUE(IsTaken(row.typeId, beside)) << row.what << ", the number behind";
        if (row.offset == 0) continue;
        const auto ahead = RecordWith(row.size, row.offset - 4, kNegative);
        EXPECT_TRUE(IsTaken(row.typeId, ahead)) << row.what << ", the number ahead";
    }
}

TEST(RecordLimits, ACombinersOffsetsAreCounted) {
    const auto isTaken = [](std::vector<uint32_t> numbers) {
        return IsWithinLimits(kChannelsCombinerBlockTypeId, numbers.data(),
                              static_cast<uint32_t>(numbers.size() * sizeof(uint32_t)));
    };
    EXPECT_TRUE(isTaken({2, 0, 63}));
    EXPECT_FALSE(isTaken({2, 0, 64}));
    EXPECT_FALSE(isTaken({2, 64, 0}));
    EXPECT_FALSE(isTaken({1, 0x7FFFFFF0}));
    EXPECT_TRUE(isTaken({2, 0, kNegative})) << "leaves its input out";
    EXPECT_TRUE(isTaken({1, 0, 64})) << "is not read";
    EXPECT_FALSE(isTaken({4096, 64})) << "is looked at as far as it goes";
}

// The block itself refuses what is too short. A number that is cut is none.
TEST(RecordLimits, ShortRecordsAreLookedAtAsFarAsTheyGo) {
    for (const auto& row : kRows) {
        const auto record = RecordWith(row.size, row.last, kNegative);
        for (uint32_t size = 0; size <= row.size; ++size) {
            const std::vector<uint8_t> cut(record.begin(), record.begin() + size);
            EXPECT_EQ(IsTaken(row.typeId, cut), size < row.last + 4) << row.what << size;
        }
        EXPECT_TRUE(IsWithinLimits(row.typeId, nullptr, row.size));
    }
    EXPECT_TRUE(IsTaken(GUID{1, 2, 3, {}}, RecordWith(8, 0, kNegative)));
}

TEST(RecordLimits, TheExcessNamesItsField) {
    const auto excess =
        FindRecordExcess(kSurroundBlockTypeId, RecordWith(136, 132, 5000).data(), 136);
    ASSERT_TRUE(excess);
    EXPECT_STREQ(excess->field->name, "decoderParameters.outputDelaysMs");
    EXPECT_EQ(excess->value, 5000u);
    EXPECT_EQ(excess->field->largest, 1000u);
}

}  // namespace
}  // namespace quorvel
