// Whether a packed parameter record stays within the limits, told without making a block of it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/windows_api.h"

namespace quorvel {

// Numbers of a kind's record that a limit holds for: 32 bits each, without gaps.
struct LimitedField {
    GUID typeId;
    const char* name;       // as the profile's JSON calls it
    std::uint32_t offset;   // bytes from the start of the record
    std::uint32_t count;    // how many; 0: as many as the number just ahead of them says
    std::uint32_t largest;  // that an object takes
    bool isSigned;          // negative ones are within the limit
};

// Every limited field there is. A kind that is not here cannot go beyond a limit.
std::span<const LimitedField> LimitedFields();

struct RecordExcess {
    const LimitedField* field;
    std::uint32_t value;  // above field->largest
};

// The first number of the record that is beyond its limit; none when all are within, and for a kind
// that has no limits. A record that ends early is looked at as far as it goes; null has no bytes.
// Allocates nothing; any thread.
std::optional<RecordExcess> FindRecordExcess(const GUID& typeId, const void* data,
                                             std::uint32_t size);

inline bool IsWithinLimits(const GUID& typeId, const void* data, std::uint32_t size) {
    return !FindRecordExcess(typeId, data, size);
}

}  // namespace quorvel
