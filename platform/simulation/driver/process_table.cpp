#include "platform/simulation/driver/process_table.h"

#include <algorithm>
#include <utility>

namespace quorvel::simulation {
namespace {

// Capital letters whose small ones lie at a fixed distance (Unicode CaseFolding.txt, status C).
struct CapitalRange {
    char16_t first;
    char16_t last;
    char16_t distance;
};

constexpr CapitalRange kCapitals[] = {
    {u'A', u'Z', 32},            //
    {u'\u00C0', u'\u00D6', 32},  // Latin-1 without the multiplication sign
    {u'\u00D8', u'\u00DE', 32},  //
    {u'\u0391', u'\u03A1', 32},  // Greek without the unassigned place
    {u'\u03A3', u'\u03AB', 32},  //
    {u'\u0400', u'\u040F', 80},  // Cyrillic
    {u'\u0410', u'\u042F', 32},  //
};

char16_t Fold(char16_t unit) {
    for (const CapitalRange& range : kCapitals)
        if (unit >= range.first && unit <= range.last)
            return static_cast<char16_t>(unit + range.distance);
    return unit;
}

const StoredProfile* FindFallback(const std::vector<StoredProfile>& profiles) {
    const auto found = std::ranges::find(profiles, kFallbackProfile, &StoredProfile::id);
    return found == profiles.end() ? nullptr : &*found;
}

const StoredProfile* FindByPath(std::u16string_view path,
                                const std::vector<StoredProfile>& profiles) {
    for (const StoredProfile& profile : profiles)
        for (const std::u16string& candidate : SplitStrings(profile.strings))
            if (!candidate.empty() && IsSamePath(candidate, path)) return &profile;
    return FindFallback(profiles);
}

Id IdOrZero(const StoredProfile* profile) {
    return profile ? profile->id : Id{};
}

}  // namespace

bool IsSamePath(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b, {}, Fold, Fold);
}

void ProcessTable::Add(std::uint32_t process, std::u16string path) {
    paths[process] = std::move(path);
}

bool ProcessTable::Remove(std::uint32_t process) {
    return paths.erase(process) != 0;
}

const std::u16string* ProcessTable::FindPath(std::uint32_t process) const {
    const auto entry = paths.find(process);
    return entry == paths.end() ? nullptr : &entry->second;
}

const StoredProfile* ProcessTable::FindProfile(std::uint32_t process,
                                               const std::vector<StoredProfile>& profiles) const {
    const std::u16string* path = FindPath(process);
    return path ? FindByPath(*path, profiles) : FindFallback(profiles);
}

std::vector<Id> ProcessTable::Assignments(const std::vector<StoredProfile>& profiles) const {
    std::vector<Id> assigned;
    for (const auto& entry : paths)
        assigned.push_back(IdOrZero(FindByPath(entry.second, profiles)));
    assigned.push_back(IdOrZero(FindFallback(profiles)));
    return assigned;
}

}  // namespace quorvel::simulation
