// The parameter records of the block kinds as data: which fields they have, where, in which unit
// and range, and what a field that is left out means. Reading, writing and checking of JSON
// parameters work from this table, and the schema for editors is tested against it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/windows_api.h"

namespace quorvel::tool {

enum class FieldKind {
    kFloat32,
    kUnsigned32,
    kSigned32,
    kSigned16,
    kArray,     // a fixed number of bare values in the record itself
    kChoice16,  // u16; JSON has one of `choices`, whose place is the number
    kRecord,    // a record inside the record
    kList,      // u32 count, always the last field; the items follow the record
};

struct Field;

struct RecordLayout {
    std::span<const Field> fields;  // in the order of the record
    std::uint32_t size = 0;         // bytes without list items
};

struct Field {
    const char* name = nullptr;  // null in the only field of an item that is a bare value
    FieldKind kind = FieldKind::kFloat32;
    std::uint32_t offset = 0;  // bytes from the start of the record
    const char* unit = "";
    double minimum = 0.0;  // of the value; of the number of items for a list or an array
    double maximum = 0.0;
    std::optional<double> defaultValue{};  // a field without one is required
    std::span<const char* const> choices{};
    const RecordLayout* item = nullptr;      // of a list or an array; the nested record itself
    std::span<const double> itemDefaults{};  // of an array: none, or one for each item
    const char* meaning = "";                // where the name does not say it
};

// A nested record may be left out when all its fields may.
inline bool IsRequired(const Field& field) {
    if (field.kind == FieldKind::kRecord)
        return std::ranges::any_of(field.item->fields, IsRequired);
    return !field.defaultValue && field.itemDefaults.empty();
}

struct BlockFields {
    const GUID* typeId = nullptr;
    const char* label = nullptr;    // stands in the names that decoded blocks get: "peaking-1"
    const char* purpose = nullptr;  // one line
    RecordLayout record{};
};

// One entry a block kind, ordered by class name. A kind that is not here has `data` only.
std::span<const BlockFields> AllBlockFields();

// The entry of a kind; null when there is none.
const BlockFields* FindBlockFields(const GUID& typeId);

}  // namespace quorvel::tool
