// What the driver announces, and the records in which it does.
//
// A read of the event stream delivers at most 1024 bytes of whole records, back to back:
//   0  event (4)   4  payload size n (4)   8  time stamp (8)   16  payload (n)
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/windows_api.h"

// Payload of 25 to 28: profile GUID at 0. Payload of 29 to 33: profile GUID at 0, block id or the
// link's sourceBlockId at 24, the link's destinationBlockId at 40, 32-bit chain number at 56. Other
// bytes of a payload, and other events, mean nothing to this library.
enum class QuorvelDriverEvents : std::uint32_t {
    // After 24, 25, 26 and 28 another profile may apply to a process: ask again.
    AssignmentChanged = 24,  // a process came or went; no payload is read
    ProfileAdded = 25,
    ProfileRemoved = 26,
    ProfileDataChanged = 27,  // fetch the whole profile again
    PathsChanged = 28,
    BlockAdded = 29,
    BlockChanged = 30,
    BlockRemoved = 31,
    LinkAdded = 32,
    LinkRemoved = 33,
};

namespace quorvel {

// Bytes of an event's payload that a listener may read, whatever size the driver claims.
constexpr std::size_t ReadablePayload(QuorvelDriverEvents event) {
    constexpr std::size_t kProfileId = 16;      // ends there
    constexpr std::size_t kBlockAndChain = 60;  // ends with the chain number
    if (event >= QuorvelDriverEvents::BlockAdded && event <= QuorvelDriverEvents::LinkRemoved)
        return kBlockAndChain;
    if (event >= QuorvelDriverEvents::ProfileAdded && event <= QuorvelDriverEvents::PathsChanged)
        return kProfileId;
    return 0;
}

#pragma pack(push, 1)

struct DriverEventHeader {
    std::uint32_t event = 0;  // a QuorvelDriverEvents value
    std::uint32_t payloadSize = 0;
    FILETIME time{};  // UTC
};

#pragma pack(pop)

static_assert(sizeof(DriverEventHeader) == 16);
static_assert(offsetof(DriverEventHeader, payloadSize) == 4);
static_assert(offsetof(DriverEventHeader, time) == 8);

}  // namespace quorvel
