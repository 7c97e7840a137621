#include "authoring/document/parameter_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "authoring/document/exit_status.h"
#include "authoring/document/json_checks.h"

namespace quorvel::tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename Value>
void Put(Bytes& bytes, std::size_t offset, Value value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
}

template <typename Value>
Value Get(std::span<const std::uint8_t> bytes, std::size_t offset) {
    Value value{};
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

// `number` lies in the range of the field.
void PutNumber(Bytes& bytes, std::size_t offset, FieldKind kind, double number) {
    switch (kind) {
        case FieldKind::kFloat32:
            return Put(bytes, offset, static_cast<float>(number));
        case FieldKind::kUnsigned32:
            return Put(bytes, offset, static_cast<std::uint32_t>(number));
        case FieldKind::kSigned32:
            return Put(bytes, offset, static_cast<std::int32_t>(number));
        case FieldKind::kSigned16:
            return Put(bytes, offset, static_cast<std::int16_t>(number));
        case FieldKind::kArray:
        case FieldKind::kChoice16:
            return Put(bytes, offset, static_cast<std::uint16_t>(number));
        case FieldKind::kRecord:
        case FieldKind::kList:
            return;
    }
}

std::size_t ArraySize(const Field& array) {
    return static_cast<std::size_t>(array.maximum) * array.item->size;
}

std::string NumberText(double number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

std::string RangeText(const Field& field) {
    const std::string unit = *field.unit ? std::string(" ") + field.unit : "";
    return NumberText(field.minimum) + " to " + NumberText(field.maximum) + unit;
}

double ReadChoice(const Json& value, const Field& field, const JsonPlace& place) {
    std::string expected;
    for (std::size_t i = 0; i < field.choices.size(); ++i) {
        if (value.is_string() && value.get_ref<const std::string&>() == field.choices[i]) {
            return static_cast<double>(i);
        }
        expected += (i ? ", " : "") + Quoted(field.choices[i]);
    }
    throw Refusal(place, "must be one of " + expected);
}

double ReadNumber(const Json& value, const Field& field, const JsonPlace& place) {
    if (field.kind == FieldKind::kChoice16) return ReadChoice(value, field, place);
    if (!value.is_number()) throw Refusal(place, "must be a number, " + RangeText(field));
    const auto number = value.get<double>();
    if (field.kind != FieldKind::kFloat32 && number != std::floor(number)) {
        throw Refusal(place, "must be a whole number, " + RangeText(field));
    }
    if (!(number >= field.minimum && number <= field.maximum)) {
        throw Refusal(place, "must be in the range " + RangeText(field));
    }
    return number;
}

void ReadRecord(const Json& value, const RecordLayout& record, const JsonPlace& place, Bytes& bytes,
                std::size_t start);

// The items come behind the whole record, which nothing else follows.
void ReadList(const Json& value, const Field& field, std::size_t offset, const JsonPlace& place,
              Bytes& bytes) {
    RequireArray(value, place);
    const auto count = static_cast<double>(value.size());
    if (!(count >= field.minimum && count <= field.maximum)) {
        throw Refusal(place, "must have " + NumberText(field.minimum) + " to " +
                                 NumberText(field.maximum) + " items");
    }
    Put(bytes, offset, static_cast<std::uint32_t>(value.size()));
    bytes.reserve(bytes.size() + value.size() * field.item->size);
    for (std::size_t i = 0; i < value.size(); ++i)
        place.Attempt([&] { ReadRecord(value[i], *field.item, place.At(i), bytes, bytes.size()); });
}

// A null `value` stands for the default.
void ReadArray(const Json* value, const Field& field, std::size_t offset, const JsonPlace& place,
               Bytes& bytes) {
    const auto count = static_cast<std::size_t>(field.maximum);
    if (value) {
        RequireArray(*value, place);
        if (value->size() != count)
            throw Refusal(place, "must have " + NumberText(field.maximum) + " items");
    }
    const Field& item = field.item->fields.front();
    for (std::size_t i = 0; i < count; ++i) {
        const double number =
            value ? ReadNumber((*value)[i], item, place.At(i)) : field.itemDefaults[i];
        PutNumber(bytes, offset + i * field.item->size, item.kind, number);
    }
}

void ReadField(const Json* value, const Field& field, std::size_t offset, const JsonPlace& place,
               Bytes& bytes) {
    if (!value && IsRequired(field)) throw Refusal(place, "is required");
    if (field.kind == FieldKind::kArray) return ReadArray(value, field, offset, place, bytes);
    if (field.kind == FieldKind::kList) return ReadList(*value, field, offset, place, bytes);
    if (field.kind == FieldKind::kRecord) {
        const Json defaults = Json::object();
        return ReadRecord(value ? *value : defaults, *field.item, place, bytes, offset);
    }
    const double number = value ? ReadNumber(*value, field, place) : *field.defaultValue;
    PutNumber(bytes, offset, field.kind, number);
}

bool IsBareValue(const RecordLayout& record) {
    return record.fields.size() == 1 && !record.fields.front().name;
}

bool HasField(const RecordLayout& record, const std::string& name) {
    return std::any_of(record.fields.begin(), record.fields.end(),
                       [&](const Field& field) { return name == field.name; });
}

void RefuseUnknownFields(const Json& object, const RecordLayout& record, const JsonPlace& place) {
    for (const auto& [key, value] : object.items()) {
        if (HasField(record, key)) continue;
        place.Attempt([&] { throw Refusal(place.Key(key), "unknown key"); });
    }
}

// Puts the record into `bytes` from `start` on, which grow when they end there.
void ReadRecord(const Json& value, const RecordLayout& record, const JsonPlace& place, Bytes& bytes,
                std::size_t start) {
    bytes.resize(std::max(bytes.size(), start + record.size));
    if (IsBareValue(record)) return ReadField(&value, record.fields.front(), start, place, bytes);
    RequireObject(value, place);
    RefuseUnknownFields(value, record, place);
    for (const Field& field : record.fields) {
        place.Attempt([&] {
            ReadField(FindMember(value, field.name), field, start + field.offset,
                      place.Key(field.name), bytes);
        });
    }
}

OrderedJson WriteRecord(std::span<const std::uint8_t> bytes, const RecordLayout& record);

OrderedJson WriteList(std::span<const std::uint8_t> items, const RecordLayout& item) {
    OrderedJson list = OrderedJson::array();
    for (std::size_t at = 0; at < items.size(); at += item.size)
        list.push_back(WriteRecord(items.subspan(at, item.size), item));
    return list;
}

// A choice without a name comes out as null, which does not read back.
OrderedJson WriteField(std::span<const std::uint8_t> bytes, const Field& field,
                       std::size_t recordSize) {
    switch (field.kind) {
        case FieldKind::kFloat32:
            return ShortestDouble(Get<float>(bytes, field.offset));
        case FieldKind::kUnsigned32:
            return Get<std::uint32_t>(bytes, field.offset);
        case FieldKind::kSigned32:
            return Get<std::int32_t>(bytes, field.offset);
        case FieldKind::kSigned16:
            return Get<std::int16_t>(bytes, field.offset);
        case FieldKind::kArray:
            return WriteList(bytes.subspan(field.offset, ArraySize(field)), *field.item);
        case FieldKind::kRecord:
            return WriteRecord(bytes.subspan(field.offset, field.item->size), *field.item);
        case FieldKind::kList:
            return WriteList(bytes.subspan(recordSize), *field.item);
        case FieldKind::kChoice16:
            break;
    }
    const auto choice = Get<std::uint16_t>(bytes, field.offset);
    return choice < field.choices.size() ? OrderedJson(field.choices[choice]) : OrderedJson();
}

// `bytes` are one whole record, with the items of its list.
OrderedJson WriteRecord(std::span<const std::uint8_t> bytes, const RecordLayout& record) {
    if (IsBareValue(record)) return WriteField(bytes, record.fields.front(), record.size);
    OrderedJson object = OrderedJson::object();
    for (const Field& field : record.fields)
        object[field.name] = WriteField(bytes, field, record.size);
    return object;
}

// Whether the items of the list, if the record has one, fill the bytes to their end.
bool HasWholeLength(std::span<const std::uint8_t> bytes, const RecordLayout& record) {
    if (bytes.size() < record.size) return false;
    std::size_t itemBytes = 0;
    if (!record.fields.empty() && record.fields.back().kind == FieldKind::kList) {
        const Field& list = record.fields.back();
        itemBytes = std::size_t{Get<std::uint32_t>(bytes, list.offset)} * list.item->size;
    }
    return bytes.size() - record.size == itemBytes;
}

}  // namespace

Bytes ReadParameters(const Json& parameters, const RecordLayout& record, const JsonPlace& place) {
    Bytes bytes;
    ReadRecord(parameters, record, place, bytes, 0);
    return bytes;
}

std::optional<OrderedJson> WriteParameters(std::span<const std::uint8_t> bytes,
                                           const RecordLayout& record) {
    if (!HasWholeLength(bytes, record)) return {};
    OrderedJson parameters = WriteRecord(bytes, record);
    try {
        const Bytes readBack = ReadParameters(Json(parameters), record, JsonPlace());
        if (!std::equal(readBack.begin(), readBack.end(), bytes.begin(), bytes.end())) return {};
    } catch (const ToolError&) {
        return {};
    }
    return parameters;
}

double ShortestDouble(float value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    double shortest = value;
    std::from_chars(digits.data(), end, shortest);
    // Rounding twice, to double and to float, may in rare cases go astray.
    return static_cast<float>(shortest) == value ? shortest : static_cast<double>(value);
}

}  // namespace quorvel::tool
