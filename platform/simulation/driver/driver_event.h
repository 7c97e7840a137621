// What the driver announces, and the records in which it does.
//
// Record: event (4), size of the payload (4), time stamp (8: 100 ns since 1601, UTC), payload.
//
//   event                  announced when                        payload
//   24 AssignmentChanged   a process came or went                no profile
//   25 ProfileAdded        a profile was stored for the first    the profile
//                          time (27 follows)
//   26 ProfileRemoved      a profile was removed                 the profile
//                          all profiles were removed             no profile
//   27 ProfileDataChanged  a whole profile, or all blocks or     the profile
//                          all links of a chain, were stored
//   28 PathsChanged        the paths of a profile changed        the profile
//                          another profile now applies to some   no profile
//                          process, and no notice before says so
//   29 BlockAdded          one block was stored                  profile, block, chain
//   30 BlockChanged        one block was stored anew             profile, block, chain
//   31 BlockRemoved        one block, and with it its links      profile, block, chain
//   32 LinkAdded           one link was stored                   profile, both blocks, chain
//   33 LinkRemoved         one link was removed                  profile, both blocks, chain
//
// A listener with a profile asks again which one applies to its process when 25, 26 or 28 names its
// profile or none; while it has the fallback profile, at every 24, 25, 26 and 28. One that holds a
// fixed profile fetches it at 27.
//
// Payload of 24 to 28 (24 bytes): profile id 0, its new cookie 16 (8); both 0 for "no profile".
// Payload of 29 to 33 (60 bytes): the same, then at 24 the block or the link's source, at 40 the
// block's type or the link's destination, at 56 the chain number.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/simulation/driver/driver_bytes.h"

namespace quorvel::simulation {

enum class EventKind : std::uint32_t {
    kAssignmentChanged = 24,
    kProfileAdded = 25,
    kProfileRemoved = 26,
    kProfileDataChanged = 27,
    kPathsChanged = 28,
    kBlockAdded = 29,
    kBlockChanged = 30,
    kBlockRemoved = 31,
    kLinkAdded = 32,
    kLinkRemoved = 33,
};

struct DriverEvent {
    EventKind kind{};
    Id profile{};
    std::uint64_t cookie = 0;
    Id first{};   // block, or source of a link
    Id second{};  // type of the block, or destination of a link
    std::uint32_t chain = 0;
};

using DriverEvents = std::vector<DriverEvent>;

// The record, stamped with `time`.
Bytes WriteEvent(const DriverEvent& event, std::uint64_t time);

}  // namespace quorvel::simulation
