// Where in a JSON document something stands, such as "$.chains[0].blocks[2].name".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "authoring/document/exit_status.h"

namespace quorvel::tool {

// Faults that were met, where reading goes on behind them.
using FaultList = std::vector<std::string>;

// A step from a value to one inside it. Places are made on the way down a document and point at
// the place above, which lives on the caller's stack and must outlive them; a text is only made
// when there is something to report.
class JsonPlace {
  public:
    // The whole document, "$".
    JsonPlace() = default;

    // The same, and faults in it are collected there instead of ending the reading at the first.
    explicit JsonPlace(FaultList* collected) : faults(collected) {}

    // The member `name`, which must outlive the place, or the element `position`.
    JsonPlace Key(std::string_view name) const { return JsonPlace(this, name, 0); }
    JsonPlace At(std::size_t position) const { return JsonPlace(this, {}, position); }

    std::string Text() const;

    // Reads a part that others do not depend on: its fault (a ToolError), when faults are
    // collected, leaves the others to be read. Whether no fault was met in the part, however deep.
    template <typename Step>
    bool Attempt(Step&& step) const {
        if (!faults) {
            step();
            return true;
        }
        const std::size_t before = faults->size();
        try {
            step();
        } catch (const ToolError& error) {
            faults->push_back(error.what());
        }
        return faults->size() == before;
    }

  private:
    JsonPlace(const JsonPlace* above, std::string_view name, std::size_t position)
        : parent(above), key(name), index(position), faults(above->faults) {}

    const JsonPlace* parent = nullptr;
    std::string_view key{};  // its data is null for an element
    std::size_t index = 0;
    FaultList* faults = nullptr;  // null: the first fault ends the reading
};

// One step as text: ".name" where the name is plain, ["any name"] otherwise.
std::string JsonKeyStep(std::string_view name);
std::string JsonIndexStep(std::size_t position);

// `text` in quotation marks, control characters and anything outside ASCII escaped, cut at 80
// bytes: fit for a message.
std::string Quoted(std::string_view text);

}  // namespace quorvel::tool
