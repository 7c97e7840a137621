// The processes that the driver knows, and the profile that applies to each.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulation/driver/stored_profile.h"

namespace quorvel::simulation {

// {8A5527DD-29ED-49B0-8BE9-5667AD8999E1}: the profile of every process that no other applies to.
inline constexpr Id kFallbackProfile = {
    std::byte{0xDD}, std::byte{0x27}, std::byte{0x55}, std::byte{0x8A},
    std::byte{0xED}, std::byte{0x29}, std::byte{0xB0}, std::byte{0x49},
    std::byte{0x8B}, std::byte{0xE9}, std::byte{0x56}, std::byte{0x67},
    std::byte{0xAD}, std::byte{0x89}, std::byte{0x99}, std::byte{0xE1}};

// Whether two paths are the same but for the case of letters: Latin (ASCII and Latin-1), Greek and
// Cyrillic ones. Nothing else is folded; separators and length must agree.
bool IsSamePath(std::u16string_view a, std::u16string_view b);

class ProcessTable {
  public:
    // Adds a process, or gives a known one another path.
    void Add(std::uint32_t process, std::u16string path);

    // False when there is no such process.
    bool Remove(std::uint32_t process);

    // The path of its executable; null for an unknown process.
    const std::u16string* FindPath(std::uint32_t process) const;

    // The first of `profiles` that names the process's path; for a process that no profile names,
    // or an unknown one, the fallback profile. Null when that is not stored either.
    const StoredProfile* FindProfile(std::uint32_t process,
                                     const std::vector<StoredProfile>& profiles) const;

    // The id of what FindProfile gives for each process, the last for an unknown one. Ids of all
    // zeros stand for null.
    std::vector<Id> Assignments(const std::vector<StoredProfile>& profiles) const;

  private:
    std::map<std::uint32_t, std::u16string> paths;
};

}  // namespace quorvel::simulation
