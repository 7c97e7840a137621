#include "authoring/document/json_text.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "authoring/document/exit_status.h"
#include "authoring/document/json_place.h"

namespace quorvel::tool {
namespace {

constexpr std::size_t kDeepestNesting = 32;
constexpr std::size_t kLongestReason = 200;  // bytes; a reason may quote a long token

std::string LineAndColumn(std::string_view text, std::size_t position) {
    const std::string_view before = text.substr(0, std::min(position, text.size()));
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const std::size_t lastBreak = before.rfind('\n');
    const std::size_t lineStart = lastBreak == std::string_view::npos ? 0 : lastBreak + 1;
    return "line " + std::to_string(lines + 1) + ", column " +
           std::to_string(before.size() - lineStart + 1);
}

// The parser's message without its tag and without its own account of the position.
std::string Reason(const std::string& message) {
    std::string reason = message.substr(message.find("] ") + 2);
    if (reason.starts_with("parse error at ")) reason.erase(0, reason.find(": ") + 2);
    if (reason.size() > kLongestReason) reason = reason.substr(0, kLongestReason) + "...";
    return reason;
}

// Builds the document from the parser's events.
class DocumentBuilder final : public nlohmann::json_sax<Json> {
  public:
    explicit DocumentBuilder(std::string_view source) : text(source) {}

    Json Take() { return std::move(root); }

    bool null() override { return Enter(nullptr); }
    bool boolean(bool value) override { return Enter(value); }
    bool number_integer(std::int64_t value) override { return Enter(value); }
    bool number_unsigned(std::uint64_t value) override { return Enter(value); }
    bool number_float(double value, const std::string&) override { return Enter(value); }
    bool string(std::string& value) override { return Enter(std::move(value)); }
    bool binary(binary_t& value) override { return Enter(std::move(value)); }

    bool start_object(std::size_t) override { return Open(Json::object()); }
    bool start_array(std::size_t) override { return Open(Json::array()); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(std::string& name) override {
        open.back().key = std::move(name);
        if (open.back().value->contains(open.back().key)) {
            throw InvalidInput(Place() + ": this member occurs twice");
        }
        return true;
    }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override {
        // The parser counts the offending byte as read.
        const std::size_t before = position == 0 ? 0 : position - 1;
        throw InvalidInput(LineAndColumn(text, before) + ": " + Reason(error.what()));
    }

  private:
    struct OpenValue {
        Json* value = nullptr;
        std::string key{};  // member under way, of an object
    };

    bool Enter(Json value) {
        Append(std::move(value));
        return true;
    }

    // An open container's address stays: its parent takes no other element until it is closed.
    Json* Append(Json value) {
        if (open.empty()) {
            root = std::move(value);
            return &root;
        }
        Json& parent = *open.back().value;
        if (parent.is_array()) {
            parent.push_back(std::move(value));
            return &parent.back();
        }
        return &(parent[open.back().key] = std::move(value));
    }

    bool Open(Json container) {
        if (open.size() == kDeepestNesting) {
            throw InvalidInput(Place() + ": nested deeper than " + std::to_string(kDeepestNesting) +
                               " levels");
        }
        open.push_back({Append(std::move(container))});
        return true;
    }

    bool Close() {
        open.pop_back();
        return true;
    }

    std::string Place() const {
        std::string place = "$";
        for (const OpenValue& level : open) {
            const bool isLast = &level == &open.back();
            if (level.value->is_object()) {
                place += JsonKeyStep(level.key);
            } else {
                // The element under way is already in the list unless it is the innermost.
                place += JsonIndexStep(level.value->size() - (isLast ? 0 : 1));
            }
        }
        return place;
    }

    std::string_view text;
    Json root;
    std::vector<OpenValue> open;
};

}  // namespace

Json ParseJson(std::string_view text) {
    DocumentBuilder builder(text);
    Json::sax_parse(text.begin(), text.end(), &builder);
    return builder.Take();
}

}  // namespace quorvel::tool
