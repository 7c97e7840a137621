#include "authoring/document/parameter_text.h"

#include <span>

#include "authoring/document/parameter_fields.h"
#include "authoring/document/parameter_json.h"

namespace quorvel::tool {
namespace {

std::string ValueText(const OrderedJson& value, const Field& field) {
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    return *field.unit ? text + " " + field.unit : text;
}

// The numbers of an array stand in one row behind the unit that they share.
std::string RowText(const OrderedJson& values, const Field& item) {
    std::string row;
    for (const OrderedJson& value : values)
        row.append(row.empty() ? "" : " ").append(value.dump());
    if (*item.unit) row.append(" ").append(item.unit);
    return row;
}

std::string FieldsText(const OrderedJson& object, const RecordLayout& record) {
    std::string line;
    for (const Field& field : record.fields) {
        line.append(line.empty() ? "" : ", ").append(field.name).append(" ");
        line.append(ValueText(object[field.name], field));
    }
    return line;
}

// Adds the lines of a record; `prefix` names the record inside the block's own.
void AddLines(const OrderedJson& object, const RecordLayout& record, const std::string& prefix,
              std::vector<std::string>& lines) {
    for (const Field& field : record.fields) {
        const OrderedJson& value = object[field.name];
        const std::string name = prefix + field.name;
        if (field.kind == FieldKind::kRecord) {
            AddLines(value, *field.item, name + ".", lines);
        } else if (!field.item) {
            lines.push_back(name + " " + ValueText(value, field));
        } else if (!field.item->fields.front().name) {
            lines.push_back(name + " " + RowText(value, field.item->fields.front()));
        } else {
            for (std::size_t i = 0; i < value.size(); ++i)
                lines.push_back(name + " " + std::to_string(i + 1) + ": " +
                                FieldsText(value[i], *field.item));
        }
    }
}

void AddValues(const OrderedJson& object, const RecordLayout& record, const std::string& prefix,
               std::vector<ParameterValue>& values) {
    for (const Field& field : record.fields) {
        const OrderedJson& value = object[field.name];
        const std::string name = prefix + field.name;
        if (field.kind == FieldKind::kRecord) {
            AddValues(value, *field.item, name + ".", values);
        } else if (!field.item) {
            values.push_back({name, ValueText(value, field)});
        } else if (!field.item->fields.front().name) {
            values.push_back({name, RowText(value, field.item->fields.front())});
        } else {
            for (std::size_t i = 0; i < value.size(); ++i)
                AddValues(value[i], *field.item, name + " " + std::to_string(i + 1) + " ", values);
        }
    }
}

// The block's parameters as JSON; none where there is no record, or one that does not read.
std::optional<OrderedJson> Parameters(const QuorvelAudioBlock& block, const BlockFields* fields) {
    if (!fields || !block.data) return std::nullopt;
    return WriteParameters(std::span<const std::uint8_t>(block.data, block.dataSize),
                           fields->record);
}

std::string RecordText(const QuorvelAudioBlock& block) {
    if (!block.data) return "no record: the defaults of the block";
    return "a record of " + std::to_string(block.dataSize) + " bytes";
}

}  // namespace

std::vector<std::string> ParameterLines(const QuorvelAudioBlock& block) {
    const BlockFields* const fields = FindBlockFields(block.typeId);
    const bool hasNone = fields && fields->record.fields.empty();
    if (!block.data && hasNone) return {};
    const auto parameters = Parameters(block, fields);
    if (!parameters) return {RecordText(block)};
    std::vector<std::string> lines;
    AddLines(*parameters, fields->record, "", lines);
    return lines;
}

std::vector<ParameterValue> ParameterValues(const QuorvelAudioBlock& block) {
    const BlockFields* const fields = FindBlockFields(block.typeId);
    const auto parameters = Parameters(block, fields);
    if (!parameters) return {{"record", RecordText(block)}};
    std::vector<ParameterValue> values;
    AddValues(*parameters, fields->record, "", values);
    return values;
}

}  // namespace quorvel::tool
