// What the readers of JSON documents ask of a value. Every refusal is a ToolError (invalid) that
// begins with the value's place.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "authoring/document/exit_status.h"
#include "authoring/document/json_place.h"
#include "authoring/document/json_text.h"

namespace quorvel::tool {

// "PLACE: REASON".
ToolError Refusal(const JsonPlace& place, const std::string& reason);

void RequireObject(const Json& value, const JsonPlace& place);
void RequireArray(const Json& value, const JsonPlace& place);
const std::string& RequireText(const Json& value, const JsonPlace& place);

// A whole number from 0 to 2^32 - 1; 3.0 is one.
std::uint32_t RequireUnsigned32(const Json& value, const JsonPlace& place);

// Refuses the first member, in the order of names, that is not among `known`.
void RefuseUnknownKeys(const Json& object, std::initializer_list<std::string_view> known,
                       const JsonPlace& place);

// The member, or null when it is left out; Required refuses then.
const Json* FindMember(const Json& object, const char* key);
const Json& RequiredMember(const Json& object, const char* key, const JsonPlace& place);

}  // namespace quorvel::tool
