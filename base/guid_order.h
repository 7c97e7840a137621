// The one order in which GUIDs are sorted everywhere.
#pragma once

#include <cstring>

#include "platform/windows_api.h"

namespace quorvel {

inline constexpr GUID kNullGuid{};

// Compares the 16 bytes as they lie in memory, as unsigned bytes.
struct GuidLess {
    bool operator()(const GUID& a, const GUID& b) const {
        return std::memcmp(&a, &b, sizeof(GUID)) < 0;
    }
};

}  // namespace quorvel
