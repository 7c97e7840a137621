// Profiles in files.
#pragma once

#include <string>
#include <string_view>

#include "authoring/document/named_profile.h"
#include "authoring/document/profile_json.h"

namespace quorvel::tool {

// How a profile stood in its file.
enum class ProfileForm { kJson, kText };

// Reads a profile file into `named`, which must be empty. A file whose first character, blanks and
// a byte order mark apart, opens a JSON object or array is JSON; any other is the text form.
// Throws ToolError with the path: file when it cannot be read, invalid when it holds no valid
// profile. With a `reading`, faults of a JSON profile go there, as ReadProfile has it.
ProfileForm LoadProfile(const std::string& path, NamedProfile& named,
                        ProfileReading* reading = nullptr);

// Whether the text is an undamaged profile in text form.
bool IsProfileText(const std::string& text);

// The text form, one line.
std::string ProfileText(NamedProfile& named);

}  // namespace quorvel::tool
