// The profiles that the driver holds, in the order in which they were first stored.
//
// Every operation that changes a profile gives it a cookie that no profile had before and appends
// what is to be announced to `events`; one that fails changes and announces nothing. All return a
// status. An unknown profile, chain, block or link is status::kNotFound, except that storing makes
// a chain that is missing. Where a chain holds two records of one identity, the first one counts.
#pragma once

#include "platform/simulation/driver/driver_event.h"
#include "platform/simulation/driver/profile_records.h"
#include "platform/simulation/driver/status.h"

namespace quorvel::simulation {

class ProfileStore {
  public:
    const std::vector<StoredProfile>& Profiles() const { return profiles; }

    // Null when there is no such profile or chain.
    const StoredProfile* Find(const Id& id) const;

    // Stores a profile, or replaces the one with its id, which keeps its place.
    std::uint32_t Put(StoredProfile profile, DriverEvents& events);
    std::uint32_t Remove(const Id& id, DriverEvents& events);
    std::uint32_t Clear(DriverEvents& events);

    std::uint32_t SetPaths(Paths paths, DriverEvents& events);
    std::uint32_t SetSection(Section section, RecordKind kind, DriverEvents& events);

    // A block record; replaces the chain's block of that id, or is appended.
    std::uint32_t SetBlock(ByteSpan record, DriverEvents& events);

    // A block header. The chain's links from and to the block go with it.
    std::uint32_t RemoveBlock(ByteSpan header, DriverEvents& events);

    // Link records. The chain and both blocks must be there. Storing a link that is there already
    // succeeds and changes nothing.
    std::uint32_t SetLink(ByteSpan record, DriverEvents& events);
    std::uint32_t RemoveLink(ByteSpan record, DriverEvents& events);

  private:
    StoredProfile* FindForChange(const Id& id);

    // Gives the profile a new cookie and returns the notice of that kind about it.
    DriverEvent Changed(StoredProfile& profile, EventKind kind);

    std::vector<StoredProfile> profiles;
    std::uint64_t lastCookie = 0;
};

// The block in `chain` with that id; null when there is none.
const Bytes* FindBlock(const StoredChain& chain, const Id& id);

}  // namespace quorvel::simulation
