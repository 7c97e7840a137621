// What the reader has against a JSON profile.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "authoring/document/exit_status.h"
#include "authoring/document/profile_json.h"

namespace quorvel::tool {

inline std::string Fault(const std::string& json) {
    try {
        NamedProfile named;
        ReadProfile(ParseJson(json), named);
    } catch (const ToolError& error) {
        EXPECT_EQ(error.Status(), ExitStatus::kInvalid);
        return error.what();
    }
    return "no fault";
}

}  // namespace quorvel::tool
