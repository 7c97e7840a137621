// Reading and writing the packed records in which profiles come and go.
//
//   whole profile  size 0 (4), id 4, cookie 20 (8), chain count 28 (4), paths section 32, chains
//   paths section  profile 0, size of the strings 16 (4), path count 20 (4), strings 24
//   chain          size 0, 0 at 4, size again 8, 0 at 12, number 16, blocks section 20, links
//   section section        size 0, count 4, size again 8, count again 12, profile 16, chain 32,
//   records 36
//
// The reader is strict: a record that does not add up to the byte, repeats itself differently,
// names another profile or chain inside, or has two chains of one number is refused as a whole. So
// writing what was read gives the same bytes, the cookie apart. Nothing is allocated by a count
// that a record merely claims.
#pragma once

#include <optional>

#include "platform/simulation/driver/stored_profile.h"

namespace quorvel::simulation {

inline constexpr std::size_t kSectionHeaderSize = 36;
inline constexpr std::size_t kPathsHeaderSize = 24;
inline constexpr std::size_t kProfileHeaderSize = 32;
inline constexpr std::size_t kSmallestProfile = kProfileHeaderSize + kPathsHeaderSize;

// One chain's blocks or links, travelling alone or inside a whole profile.
struct Section {
    Id profile{};
    std::uint32_t chain = 0;
    std::vector<Bytes> records;
};

struct Paths {
    Id profile{};
    Bytes strings;
};

// Each reads a record that fills `bytes`; empty when it is malformed. A profile's cookie is 0.
std::optional<Section> ReadSection(ByteSpan bytes, RecordKind kind);
std::optional<Paths> ReadPaths(ByteSpan bytes);
std::optional<StoredProfile> ReadProfile(ByteSpan bytes);

Bytes WriteSection(const StoredProfile& profile, const StoredChain& chain, RecordKind kind);
Bytes WritePaths(const StoredProfile& profile);
Bytes WriteProfile(const StoredProfile& profile);

}  // namespace quorvel::simulation
