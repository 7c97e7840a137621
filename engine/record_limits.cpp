#include "engine/record_limits.h"

#include "engine/parameter_record.h"

namespace quorvel {
namespace {

constexpr std::uint32_t kNumberSize = sizeof(std::uint32_t);

std::uint32_t NumberAt(std::span<const std::uint8_t> record, std::size_t place) {
    return ReadRecord<std::uint32_t>(record.data() + place);
}

// How many of the field's numbers the record holds.
std::size_t CountHeld(const LimitedField& field, std::span<const std::uint8_t> record) {
    if (record.size() < field.offset) return 0;
    const std::size_t held = (record.size() - field.offset) / kNumberSize;
    const std::size_t told =
        field.count != 0 ? field.count : NumberAt(record, field.offset - kNumberSize);
    return told < held ? told : held;
}

bool IsWithin(const LimitedField& field, std::uint32_t value) {
    const bool isNegative = field.isSigned && static_cast<std::int32_t>(value) < 0;
    return isNegative || value <= field.largest;
}

}  // namespace

std::optional<RecordExcess> FindRecordExcess(const GUID& typeId, const void* data,
                                             std::uint32_t size) {
    if (!data) return {};
    const std::span record(static_cast<const std::uint8_t*>(data), size);
    for (const LimitedField& field : LimitedFields()) {
        if (field.typeId != typeId) continue;
        const std::size_t count = CountHeld(field, record);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t value = NumberAt(record, field.offset + i * kNumberSize);
            if (!IsWithin(field, value)) return RecordExcess{&field, value};
        }
    }
    return {};
}

}  // namespace quorvel
