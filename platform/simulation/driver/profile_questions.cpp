#include <algorithm>

#include "platform/simulation/driver/request_handlers.h"

namespace quorvel::simulation {
namespace {

bool IsZero(ByteSpan bytes) {
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{}; });
}

Answer Whole(const StoredProfile* profile, std::size_t capacity) {
    if (!profile) return StatusOnly(status::kNotFound);
    return WholeOrFront(WriteProfile(*profile), capacity, 4);
}

// The request is a section header with nothing but the profile at 16 and the chain at 32.
Answer GetSection(const DriverState& state, const Request& request, RecordKind kind) {
    if (!IsZero(request.bytes.first(16))) return StatusOnly(status::kInvalidParameter);
    const StoredProfile* profile = state.profiles.Find(LoadId(request.bytes, 16));
    const StoredChain* chain = profile ? profile->FindChain(LoadWord(request.bytes, 32)) : nullptr;
    if (!chain) return StatusOnly(status::kNotFound);
    return WholeOrFront(WriteSection(*profile, *chain, kind), request.capacity, 4);
}

}  // namespace

Answer GetProfileData(DriverState& state, const Request& request, DriverEvents&) {
    return Whole(state.profiles.Find(LoadId(request.bytes, 0)), request.capacity);
}

Answer GetProfileForProcess(DriverState& state, const Request& request, DriverEvents&) {
    const std::uint32_t process = LoadWord(request.bytes, 0);
    return Whole(state.processes.FindProfile(process, state.profiles.Profiles()), request.capacity);
}

Answer GetProfilePaths(DriverState& state, const Request& request, DriverEvents&) {
    const StoredProfile* profile = state.profiles.Find(LoadId(request.bytes, 0));
    if (!profile) return StatusOnly(status::kNotFound);
    return WholeOrFront(WritePaths(*profile), request.capacity, 20);
}

Answer GetProfileBlocks(DriverState& state, const Request& request, DriverEvents&) {
    return GetSection(state, request, RecordKind::kBlock);
}

Answer GetProfileLinks(DriverState& state, const Request& request, DriverEvents&) {
    return GetSection(state, request, RecordKind::kLink);
}

Answer GetAudioBlock(DriverState& state, const Request& request, DriverEvents&) {
    if (!IsBareBlockHeader(request.bytes)) return StatusOnly(status::kInvalidParameter);
    const StoredProfile* profile = state.profiles.Find(LoadId(request.bytes, 32));
    const StoredChain* chain = profile ? profile->FindChain(LoadWord(request.bytes, 48)) : nullptr;
    const Bytes* block = chain ? FindBlock(*chain, BlockIdOf(request.bytes)) : nullptr;
    if (!block) return StatusOnly(status::kNotFound);
    return WholeOrNothing(*block, request.capacity);
}

// How many profiles there are, how many ids follow, and the ids that fit.
Answer GetAllProfiles(DriverState& state, const Request& request, DriverEvents&) {
    if (request.capacity < 8) return StatusOnly(status::kInsufficientBuffer);
    const auto& profiles = state.profiles.Profiles();
    const std::size_t present = std::min(profiles.size(), (request.capacity - 8) / 16);
    Answer answer;
    AppendWord(answer.bytes, static_cast<std::uint32_t>(profiles.size()));
    AppendWord(answer.bytes, static_cast<std::uint32_t>(present));
    for (std::size_t i = 0; i < present; ++i)
        Append(answer.bytes, profiles[i].id);
    return answer;
}

}  // namespace quorvel::simulation
