#include "authoring/document/json_place.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace quorvel::tool {
namespace {

constexpr std::size_t kLongestQuote = 80;

bool IsPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '$';
}

}  // namespace

std::string JsonPlace::Text() const {
    if (!parent) return "$";
    return parent->Text() + (key.data() ? JsonKeyStep(key) : JsonIndexStep(index));
}

std::string JsonKeyStep(std::string_view name) {
    const bool plain = !name.empty() && std::all_of(name.begin(), name.end(), IsPlain);
    if (plain && name.size() <= kLongestQuote) return std::string(".").append(name);
    return std::string("[").append(Quoted(name)).append("]");
}

std::string JsonIndexStep(std::size_t position) {
    return std::string("[").append(std::to_string(position)).append("]");
}

std::string Quoted(std::string_view text) {
    const bool cut = text.size() > kLongestQuote;
    const nlohmann::json value = std::string(text.substr(0, kLongestQuote)) + (cut ? "..." : "");
    constexpr bool kAsciiOnly = true;
    return value.dump(-1, ' ', kAsciiOnly, nlohmann::json::error_handler_t::replace);
}

}  // namespace quorvel::tool
