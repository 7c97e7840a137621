#include <utility>

#include "platform/simulation/driver/request_handlers.h"

namespace quorvel::simulation {
namespace {

// Whether a process that had another profile than `named` or the fallback now has a different one:
// its streams heed no notice that names `named`.
bool MovesUnheard(const std::vector<Id>& before, const std::vector<Id>& after, const Id& named) {
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] == after[i]) continue;
        if (before[i] != named && before[i] != kFallbackProfile) return true;
    }
    return false;
}

// Runs `change`, which touches the profile `named`, and lets every stream ask again when the change
// reaches beyond those that its own notices reach.
template <typename Change>
Answer Reassign(DriverState& state, DriverEvents& events, const Id& named, Change&& change) {
    const auto before = state.processes.Assignments(state.profiles.Profiles());
    const std::uint32_t result = change();
    const auto after = state.processes.Assignments(state.profiles.Profiles());
    if (MovesUnheard(before, after, named)) events.push_back({.kind = EventKind::kPathsChanged});
    return StatusOnly(result);
}

// Whether a record that begins with its size is as long as it says.
bool TellsItsSize(ByteSpan bytes) {
    return LoadWord(bytes, 0) == bytes.size();
}

Answer SetSection(DriverState& state, const Request& request, RecordKind kind,
                  DriverEvents& events) {
    if (!TellsItsSize(request.bytes)) return StatusOnly(status::kInvalidParameter);
    auto section = ReadSection(request.bytes, kind);
    if (!section) return StatusOnly(status::kInvalidData);
    return StatusOnly(state.profiles.SetSection(std::move(*section), kind, events));
}

}  // namespace

Answer SetProfileData(DriverState& state, const Request& request, DriverEvents& events) {
    if (!TellsItsSize(request.bytes)) return StatusOnly(status::kInvalidParameter);
    auto profile = ReadProfile(request.bytes);
    if (!profile) return StatusOnly(status::kInvalidData);
    const Id id = profile->id;
    return Reassign(state, events, id,
                    [&] { return state.profiles.Put(std::move(*profile), events); });
}

Answer RemoveProfile(DriverState& state, const Request& request, DriverEvents& events) {
    return StatusOnly(state.profiles.Remove(LoadId(request.bytes, 0), events));
}

Answer ClearProfiles(DriverState& state, const Request& request, DriverEvents& events) {
    if (LoadWord(request.bytes, 0) != 0) return StatusOnly(status::kInvalidParameter);
    return StatusOnly(state.profiles.Clear(events));
}

Answer SetProfilePaths(DriverState& state, const Request& request, DriverEvents& events) {
    if (request.bytes.size() != kPathsHeaderSize + std::uint64_t{LoadWord(request.bytes, 16)})
        return StatusOnly(status::kInvalidParameter);
    auto paths = ReadPaths(request.bytes);
    if (!paths) return StatusOnly(status::kInvalidData);
    const Id id = paths->profile;
    return Reassign(state, events, id,
                    [&] { return state.profiles.SetPaths(std::move(*paths), events); });
}

Answer SetProfileBlocks(DriverState& state, const Request& request, DriverEvents& events) {
    return SetSection(state, request, RecordKind::kBlock, events);
}

Answer SetProfileLinks(DriverState& state, const Request& request, DriverEvents& events) {
    return SetSection(state, request, RecordKind::kLink, events);
}

Answer SetAudioBlock(DriverState& state, const Request& request, DriverEvents& events) {
    if (request.bytes.size() != kBlockHeaderSize + std::uint64_t{LoadWord(request.bytes, 52)})
        return StatusOnly(status::kInvalidParameter);
    return StatusOnly(state.profiles.SetBlock(request.bytes, events));
}

Answer RemoveAudioBlock(DriverState& state, const Request& request, DriverEvents& events) {
    if (!IsBareBlockHeader(request.bytes)) return StatusOnly(status::kInvalidParameter);
    return StatusOnly(state.profiles.RemoveBlock(request.bytes, events));
}

Answer SetProfileLink(DriverState& state, const Request& request, DriverEvents& events) {
    return StatusOnly(state.profiles.SetLink(request.bytes, events));
}

Answer RemoveProfileLink(DriverState& state, const Request& request, DriverEvents& events) {
    return StatusOnly(state.profiles.RemoveLink(request.bytes, events));
}

}  // namespace quorvel::simulation
