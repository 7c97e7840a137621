// A block's parameters in JSON and as the packed record.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <vector>

#include "authoring/document/json_place.h"
#include "authoring/document/json_text.h"
#include "authoring/document/parameter_fields.h"

namespace quorvel::tool {

// Keeps members in the order in which they are written.
using OrderedJson = nlohmann::ordered_json;

// The record that the object `parameters` describes. Fields that are left out have their defaults.
// Throws ToolError (invalid), with the place, for an unknown key, a wrong type, a number out of
// range and a required field that is missing.
std::vector<std::uint8_t> ReadParameters(const Json& parameters, const RecordLayout& record,
                                         const JsonPlace& place);

// The object that ReadParameters reads back as exactly `bytes`, every field written out; none when
// there is no such object: a wrong length, a value out of range, a NaN.
std::optional<OrderedJson> WriteParameters(std::span<const std::uint8_t> bytes,
                                           const RecordLayout& record);

// The double with the fewest digits that converts to `value`.
double ShortestDouble(float value);

}  // namespace quorvel::tool
