#include "authoring/document/json_checks.h"

#include <algorithm>
#include <cmath>

namespace quorvel::tool {

ToolError Refusal(const JsonPlace& place, const std::string& reason) {
    return InvalidInput(place.Text() + ": " + reason);
}

void RequireObject(const Json& value, const JsonPlace& place) {
    if (!value.is_object()) throw Refusal(place, "must be an object");
}

void RequireArray(const Json& value, const JsonPlace& place) {
    if (!value.is_array()) throw Refusal(place, "must be an array");
}

const std::string& RequireText(const Json& value, const JsonPlace& place) {
    if (!value.is_string()) throw Refusal(place, "must be a text");
    return value.get_ref<const std::string&>();
}

std::uint32_t RequireUnsigned32(const Json& value, const JsonPlace& place) {
    const double number = value.is_number() ? value.get<double>() : -1.0;
    if (!(number >= 0.0 && number <= UINT32_MAX) || number != std::floor(number)) {
        throw Refusal(place, "must be a whole number from 0 to 4294967295");
    }
    return static_cast<std::uint32_t>(number);
}

void RefuseUnknownKeys(const Json& object, std::initializer_list<std::string_view> known,
                       const JsonPlace& place) {
    for (const auto& [key, value] : object.items()) {
        const bool isKnown = std::find(known.begin(), known.end(), key) != known.end();
        if (!isKnown) place.Attempt([&] { throw Refusal(place.Key(key), "unknown key"); });
    }
}

const Json* FindMember(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

const Json& RequiredMember(const Json& object, const char* key, const JsonPlace& place) {
    const Json* member = FindMember(object, key);
    if (!member) throw Refusal(place.Key(key), "is required");
    return *member;
}

}  // namespace quorvel::tool
