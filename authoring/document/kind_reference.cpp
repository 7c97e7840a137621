#include "authoring/document/kind_reference.h"

#include "authoring/document/formatted_print.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/parameter_fields.h"
#include "kinds/block_kinds.h"

namespace quorvel::tool {
namespace {

struct NumberForm {
    FieldKind kind;
    const char* name;
    std::uint32_t size;  // bytes
};
constexpr NumberForm kForms[] = {
    {FieldKind::kFloat32, "f32", 4},  {FieldKind::kUnsigned32, "u32", 4},
    {FieldKind::kSigned32, "i32", 4}, {FieldKind::kSigned16, "i16", 2},
    {FieldKind::kChoice16, "u16", 2}, {FieldKind::kList, "u32", 4}};

const NumberForm& FormOf(const Field& field) {
    const auto* form = kForms;
    while (form->kind != field.kind)
        ++form;
    return *form;
}

std::string Number(double value) {
    return Formatted("%.10g", value);
}

std::string RangeText(const Field& field) {
    std::string text;
    for (std::size_t i = 0; i < field.choices.size(); ++i)
        text.append(i ? ", " : "").append(std::to_string(i)).append(" ").append(field.choices[i]);
    return text.empty() ? Number(field.minimum) + " to " + Number(field.maximum) : text;
}

std::string DefaultText(const Field& field) {
    if (!field.defaultValue) return "required";
    if (field.choices.empty()) return Number(*field.defaultValue);
    return field.choices[static_cast<std::size_t>(*field.defaultValue)];
}

std::string Row(const std::string& offset, const std::string& type, const std::string& name,
                const Field& value, const std::string& defaults, const char* meaning) {
    return "| " + offset + " | " + type + " | " + name + " | " + RangeText(value) + " | " +
           value.unit + " | " + defaults + " | " + meaning + " |\n";
}

// One after the other; a single one where all are alike.
std::string ItemDefaults(const Field& field) {
    std::string text;
    for (const double value : field.itemDefaults)
        text.append(text.empty() ? "" : " ").append(Number(value));
    return text.empty() ? "required" : text;
}

// The rows of a record at `base`, as a text or a number of bytes.
std::string Rows(const RecordLayout& record, std::uint32_t base, const std::string& prefix,
                 const std::string& repeat = "") {
    std::string rows;
    for (const Field& field : record.fields) {
        const std::uint32_t offset = base + field.offset;
        const std::string place = std::to_string(offset) + repeat;
        const std::string name = prefix + (field.name ? field.name : "");
        if (field.kind == FieldKind::kRecord) {
            rows += Rows(*field.item, offset, name + ".");
        } else if (field.kind == FieldKind::kArray) {
            const Field& item = field.item->fields.front();
            const auto count = static_cast<unsigned>(field.maximum);
            rows += Row(place, std::to_string(count) + " × " + FormOf(item).name, name, item,
                        ItemDefaults(field), field.meaning);
        } else if (field.kind == FieldKind::kList) {
            rows += "| " + place + " | u32 | number of " + name + " | " + RangeText(field) +
                    " | | required | " + field.meaning + " |\n";
            const bool areBare = !field.item->fields.front().name;
            rows += Rows(*field.item, record.size, areBare ? name : name + ".",
                         " + " + std::to_string(field.item->size) + "·n");
        } else {
            rows += Row(place, FormOf(field).name, name, field, DefaultText(field), field.meaning);
        }
    }
    return rows;
}

std::string SizeText(const RecordLayout& record) {
    if (record.fields.empty()) return "no record";
    const Field& last = record.fields.back();
    std::string text = "record of " + std::to_string(record.size) + " bytes";
    if (last.kind == FieldKind::kList)
        text += " and " + std::to_string(last.item->size) + " for each of the " + last.name;
    return text;
}

}  // namespace

std::string KindReference() {
    std::string text =
        "# The kinds of blocks\n\n"
        "What `type` may be in a profile, and the record that `parameters` becomes: little-endian, "
        "without\ngaps. Offsets and sizes are in bytes; n counts the items of a list from 0. The "
        "ranges are those\nof JSON; a record may hold any number, but a processing object keeps to "
        "the "
        "limits of\n[profile-format.md](profile-format.md).\n";
    for (const BlockFields& block : AllBlockFields()) {
        const BlockKind* const kind = FindBlockKind(*block.typeId);
        text += std::string("\n## ") + kind->name + "\n\n" + block.purpose + ".\n`" +
                GuidText(*block.typeId) + "`, " + SizeText(block.record) + ".\n";
        if (block.record.fields.empty()) continue;
        text +=
            "\n| offset | type | field | range | unit | left out | meaning "
            "|\n|---|---|---|---|---|---|---|\n" +
            Rows(block.record, 0, "");
    }
    return text;
}

}  // namespace quorvel::tool
