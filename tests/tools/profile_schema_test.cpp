// The schema for editors says what the code does.
#include <gtest/gtest.h>

#include <set>

#include "authoring/document/file_bytes.h"
#include "authoring/document/json_checks.h"
#include "engine/limits.h"
#include "engine/record_limits.h"
#include "kinds/block_kinds.h"
#include "tests/tools/profile_fault.h"

namespace quorvel::tool {
namespace {

const std::string kDirectory = QUORVEL_PROFILES;

Json Schema() {
    return ParseJson(ReadFileBytes(kDirectory + "/profile.schema.json"));
}

Json ExpectedRecord(const RecordLayout& record);

// What the schema must say of a field, descriptions apart.
Json ExpectedField(const Field& field) {
    if (field.kind == FieldKind::kRecord) return ExpectedRecord(*field.item);
    Json expected;
    if (field.item) {
        const Field& first = field.item->fields.front();
        expected = {{"type", "array"}, {"minItems", field.minimum}, {"maxItems", field.maximum}};
        for (const double value : field.itemDefaults)
            expected["default"].push_back(value);
        expected["items"] = first.name ? ExpectedRecord(*field.item) : ExpectedField(first);
    } else if (field.kind == FieldKind::kChoice16) {
        for (const char* choice : field.choices)
            expected["enum"].push_back(choice);
        if (field.defaultValue) {
            expected["default"] = field.choices[static_cast<std::size_t>(*field.defaultValue)];
        }
    } else {
        expected = {{"type", field.kind == FieldKind::kFloat32 ? "number" : "integer"},
                    {"minimum", field.minimum},
                    {"maximum", field.maximum}};
        if (field.defaultValue) expected["default"] = *field.defaultValue;
    }
    return expected;
}

Json ExpectedRecord(const RecordLayout& record) {
    Json expected = {
        {"type", "object"}, {"properties", Json::object()}, {"additionalProperties", false}};
    for (const Field& field : record.fields) {
        expected["properties"][field.name] = ExpectedField(field);
        if (IsRequired(field)) expected["required"].push_back(field.name);
    }
    return expected;
}

// The schema's own account with references followed and descriptions left out.
Json Plain(const Json& schema, const Json& value) {
    Json plain = value;
    if (const Json* reference = FindMember(value, "$ref"))
        plain = schema.at(Json::json_pointer(reference->get<std::string>().substr(1)));
    plain.erase("description");
    if (plain.contains("items")) plain["items"] = Plain(schema, plain["items"]);
    if (plain.contains("properties")) {
        for (auto& [name, property] : plain["properties"].items())
            property = Plain(schema, property);
    }
    return plain;
}

TEST(ProfileSchema, DescribesEveryKindAsTheTableDoes) {
    const Json schema = Schema();
    const Json& block = schema["$defs"]["block"];
    std::set<std::string> kinds;
    for (const BlockFields& fields : AllBlockFields()) {
        const std::string name = FindBlockKind(*fields.typeId)->name;
        kinds.insert(name);
        ASSERT_TRUE(schema["$defs"].contains(name)) << name;
        EXPECT_EQ(Plain(schema, schema["$defs"][name]), ExpectedRecord(fields.record)) << name;
        const Json expectedIf = {{"properties", {{"type", {{"const", name}}}}},
                                 {"required", {"type"}}};
        bool isBound = false;
        for (const Json& rule : block["allOf"]) {
            isBound |= rule["if"] == expectedIf &&
                       rule["then"]["properties"]["parameters"]["$ref"] == "#/$defs/" + name;
        }
        EXPECT_TRUE(isBound) << name;
    }
    EXPECT_EQ(block["properties"]["type"]["anyOf"][0]["enum"].get<std::set<std::string>>(), kinds);
    EXPECT_EQ(block["allOf"].size(), kinds.size());
}

// The field of a record that stands at an offset: a value, a list's count or the first of an array.
const Field* FindField(const RecordLayout& record, std::uint32_t offset) {
    for (const Field& field : record.fields) {
        const bool isInside = field.kind == FieldKind::kRecord && offset >= field.offset &&
                              offset < field.offset + field.item->size;
        if (isInside) return FindField(*field.item, offset - field.offset);
        if (field.offset == offset) return &field;
    }
    return nullptr;
}

// Whatever can be written as parameters, a processing object takes.
TEST(ProfileSchema, KeepsToTheLimitsOfAnObject) {
    for (const LimitedField& limited : LimitedFields()) {
        const RecordLayout& record = FindBlockFields(limited.typeId)->record;
        const Field* field = FindField(record, limited.offset);
        if (!field) field = &record.fields.back().item->fields.front();  // items of the list
        const bool isArray = field->kind == FieldKind::kArray;
        if (isArray) field = &field->item->fields.front();
        EXPECT_LE(field->maximum, limited.largest) << limited.name;
    }
    const Json chain = Schema()["$defs"]["chain"]["properties"];
    EXPECT_EQ(chain["blocks"]["maxItems"], limits::kMostBlocks);
    EXPECT_EQ(chain["links"]["maxItems"], limits::kMostLinks);
}

// The reader names a key that it does not know, so it can be asked which it knows.
TEST(ProfileSchema, NamesTheKeysThatTheReaderKnows) {
    const Json schema = Schema();
    const Json whole = ParseJson(
        R"({"chains": [{"number": 1, "blocks": [{"name": "a", "type": "MixerBlock"}]}]})");
    const std::pair<Json, const char*> levels[] = {
        {schema, ""},
        {schema["$defs"]["chain"], "/chains/0"},
        {schema["$defs"]["block"], "/chains/0/blocks/0"}};
    for (const auto& [definition, pointer] : levels) {
        const Json::json_pointer place(pointer);
        for (const auto& [key, property] : definition["properties"].items()) {
            Json document = whole;
            document[place][key] = true;  // of the wrong type everywhere
            EXPECT_EQ(Fault(document.dump()).find("unknown key"), std::string::npos) << key;
        }
        for (const Json& key : definition["required"]) {
            Json document = whole;
            document[place].erase(key.get<std::string>());
            EXPECT_NE(Fault(document.dump()).find("is required"), std::string::npos) << key;
        }
        EXPECT_EQ(definition["additionalProperties"], false);
    }
}

}  // namespace
}  // namespace quorvel::tool
