#include "platform/simulation/driver/driver_requests.h"

#include <algorithm>

#include "platform/simulation/driver/request_handlers.h"

namespace quorvel::simulation {
namespace {

using Code = ControlCode;

constexpr RequestKind kKinds[] = {
    {Code::GetDriverVersion, 0, false, GetDriverVersion},
    {Code::GetInterfaceLink, 16, false, GetInterfaceLink},
    {Code::GetDataFormatRange, 0, false, GetDataFormatRange},
    {Code::GetChannelMask, 0, false, GetChannelMask},
    {Code::GetRemovalEventName, 0, false, GetRemovalEventName},
    {Code::GetDriverEnabled, 0, false, GetDriverEnabled},
    {Code::GetLastFrequencies, 4, false, GetLastFrequencies},
    {Code::GetProcessPath, 4, false, GetProcessPath},
    {Code::GetProfileBlocks, 36, false, GetProfileBlocks},
    {Code::GetAudioBlock, 56, false, GetAudioBlock},
    {Code::GetProfileData, 16, false, GetProfileData},
    {Code::GetProfileForProcess, 4, false, GetProfileForProcess},
    {Code::GetProfilePaths, 16, false, GetProfilePaths},
    {Code::GetAllProfiles, 0, false, GetAllProfiles},
    {Code::GetProfileLinks, 36, false, GetProfileLinks},
    {Code::NoteStreamFormat, 44, false, TakeNotice},
    {Code::NoteStreamUnlocked, 4, false, NoteStreamUnlocked},
    {Code::NoteActiveChannels, 4, false, TakeNotice},
    {Code::NoteStreamObject, 8, false, TakeNotice},
    {Code::EnableStreamAnalysis, 8, false, EnableStreamAnalysis},
    {Code::SetStreamAnalysisParams, 24, true, SetStreamAnalysisParams},
    {Code::SetProfileBlocks, 36, true, SetProfileBlocks},
    {Code::SetAudioBlock, 56, true, SetAudioBlock},
    {Code::RemoveAudioBlock, 56, false, RemoveAudioBlock},
    {Code::SetProfileData, 56, true, SetProfileData},
    {Code::RemoveProfile, 16, false, RemoveProfile},
    {Code::ClearProfiles, 4, false, ClearProfiles},
    {Code::SetProfilePaths, 24, true, SetProfilePaths},
    {Code::SetProfileLinks, 36, true, SetProfileLinks},
    {Code::SetProfileLink, 52, false, SetProfileLink},
    {Code::RemoveProfileLink, 52, false, RemoveProfileLink},
};
static_assert(std::ranges::is_sorted(kKinds, {}, &RequestKind::code));

}  // namespace

std::span<const RequestKind> RequestKinds() {
    return kKinds;
}

const RequestKind* FindRequestKind(std::uint32_t code) {
    const auto wanted = static_cast<ControlCode>(code);
    const auto kind = std::ranges::lower_bound(kKinds, wanted, {}, &RequestKind::code);
    return kind != std::end(kKinds) && kind->code == wanted ? kind : nullptr;
}

Answer Serve(const RequestKind& kind, DriverState& state, const Request& request,
             DriverEvents& events) {
    const std::size_t size = request.bytes.size();
    if (size < kind.size || (size > kind.size && !kind.open))
        return StatusOnly(status::kInvalidParameter);
    return kind.handler(state, request, events);
}

}  // namespace quorvel::simulation
