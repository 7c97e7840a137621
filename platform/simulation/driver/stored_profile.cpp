#include "platform/simulation/driver/stored_profile.h"

#include <algorithm>

namespace quorvel::simulation {

StoredChain* StoredProfile::FindChain(std::uint32_t number) {
    const auto chain = std::ranges::find(chains, number, &StoredChain::number);
    return chain == chains.end() ? nullptr : &*chain;
}

const StoredChain* StoredProfile::FindChain(std::uint32_t number) const {
    return const_cast<StoredProfile*>(this)->FindChain(number);
}

StoredChain& StoredProfile::NeedChain(std::uint32_t number) {
    if (StoredChain* chain = FindChain(number)) return *chain;
    chains.push_back({.number = number, .blocks = {}, .links = {}});
    return chains.back();
}

std::vector<std::u16string> SplitStrings(ByteSpan strings) {
    std::vector<std::u16string> paths;
    std::u16string path;
    for (std::size_t i = 0; i + 1 < strings.size(); i += 2) {
        const auto unit = static_cast<char16_t>(std::to_integer<unsigned>(strings[i]) |
                                                std::to_integer<unsigned>(strings[i + 1]) << 8);
        if (unit != 0) {
            path.push_back(unit);
            continue;
        }
        paths.push_back(path);
        path.clear();
    }
    return paths;
}

}  // namespace quorvel::simulation
