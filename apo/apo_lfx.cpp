#include "apo/apo_lfx.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "apo/client_probe.h"
#include "apo/driver_event_payload.h"
#include "client/control_codes.h"
#include "platform/result_codes.h"

namespace quorvel {

const GUID kFallbackProfileId = {
    0x8A5527DD, 0x29ED, 0x49B0, {0x8B, 0xE9, 0x56, 0x67, 0xAD, 0x89, 0x99, 0xE1}};

namespace {

constexpr DWORD kStreamStopped = 123;

#pragma pack(push, 1)

struct StreamObjectNotice {
    DWORD one = 1;
    DWORD isOutput = 0;
};

struct StreamFormatNotice {
    DWORD processId = 0;
    BYTE format[40]{};  // as much of the record as it has, the rest zeros
};

#pragma pack(pop)

static_assert(sizeof(StreamObjectNotice) == 8);
static_assert(sizeof(StreamFormatNotice) == 44);

bool MayReassign(QuorvelDriverEvents event) {
    return event >= QuorvelDriverEvents::AssignmentChanged &&
           event <= QuorvelDriverEvents::PathsChanged &&
           event != QuorvelDriverEvents::ProfileDataChanged;
}

}  // namespace

APOLFX::APOLFX(const APO_REG_PROPERTIES& properties) : BaseAPO(properties) {
    channelReporter = std::make_unique<ActiveChannelReporter>(
        [this](std::uint32_t mask) { NotifyActiveChannels(mask); });
}

HRESULT APOLFX::Initialize(UINT32 cbDataSize, BYTE* pbyData) {
    const HRESULT result = BaseAPO::Initialize(cbDataSize, pbyData);
    if (FAILED(result)) return result;
    ProbeClientProcess();
    StreamObjectNotice notice{.isOutput = IsOutput() ? 1u : 0u};
    const DWORD refused = device->GetSetData(control::kNoteStreamObject, &notice, sizeof(notice),
                                             nullptr, 0, nullptr);
    return refused == ERROR_SUCCESS ? result : platform::ResultFromError(refused);
}

DWORD APOLFX::NotifyActiveChannels(DWORD mask) {
    if (!device) return mask;
    return device->GetSetData(control::kNoteActiveChannels, &mask, sizeof(mask), nullptr, 0,
                              nullptr);
}

DWORD APOLFX::NotifyStreamFormat(const WAVEFORMATEXTENSIBLE& input, const WAVEFORMATEX*) {
    if (!device) return ERROR_SUCCESS;
    StreamFormatNotice notice{.processId = clientProcessId};
    const std::size_t size = sizeof(input.Format) + input.Format.cbSize;
    std::memcpy(notice.format, &input, std::min(size, sizeof(notice.format)));
    return device->GetSetData(control::kNoteStreamFormat, &notice, sizeof(notice), nullptr, 0,
                              nullptr);
}

DWORD APOLFX::NotifyStreamUnlocked() {
    if (!device) return ERROR_SUCCESS;
    DWORD notice = kStreamStopped;
    return device->GetSetData(control::kNoteStreamUnlocked, &notice, sizeof(notice), nullptr, 0,
                              nullptr);
}

void APOLFX::OnQuorvelAudioDeviceEvent(SYSTEMTIME time, QuorvelDriverEvents event, void* data) {
    BaseAPO::OnQuorvelAudioDeviceEvent(time, event, data);
    if (!MayReassign(event)) return;
    const GUID current = ProfileId();
    bool concernsThis = current == kFallbackProfileId;
    // The notice of a process has no profile id.
    if (event != QuorvelDriverEvents::AssignmentChanged) {
        const auto changed = ReadPayload<GUID>(data, payload::kProfileId);
        concernsThis = concernsThis || changed == current || changed == GUID_NULL;
    }
    if (concernsThis && ReloadProfileForClient()) RebuildGraph();
}

// Without memory the client stays unknown.
void APOLFX::ProbeClientProcess() {
    try {
        if (const auto client =
                FindClientProcess(GetClassId(), osVersion.dwMajorVersion, *device)) {
            const std::lock_guard lock(profileLock);
            clientProcessId = client->processId;
            clientImagePath = client->imagePath;
        }
    } catch (const std::bad_alloc&) {
    }
    ReloadProfileForClient();
}

// Asks again when the client became known, or events came, while the driver was asked; the last
// time both have to wait.
bool APOLFX::ReloadProfileForClient() {
    for (int fetches = 1;; ++fetches) {
        const bool isLast = fetches == kMostFetches;
        std::unique_lock lock(profileLock);
        const auto asked = std::pair(clientProcessId, driverEventCount);
        if (!isLast) lock.unlock();
        QuorvelAudioProfile fetched;
        const bool isFound = device->GetProfileForPID(asked.first, &fetched) == ERROR_SUCCESS;
        if (!isLast) lock.lock();
        if (asked != std::pair(clientProcessId, driverEventCount)) continue;
        if (!isFound) return false;
        if (fetched.id == profile.id && fetched.cookie == profile.cookie) return false;
        profile = std::move(fetched);
        isProfilePending = true;
        return true;
    }
}

}  // namespace quorvel
