// Finding, opening and closing the driver, and what the object answers about itself.
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "apo/base_apo.h"
#include "apo/driver_binding.h"
#include "client/control_codes.h"
#include "platform/clock.h"
#include "platform/interface_ids.h"
#include "platform/os_version.h"
#include "platform/random.h"

namespace quorvel {
namespace {

// How the stream expander widens a mono chain for the output: for the headset into its sides, for
// the microphone's listeners into all channels.
constexpr std::uint32_t kUpmixForOutput = 2;
constexpr std::uint32_t kUpmixForInput = 1;

constexpr std::uint32_t kDefaultHold = 0xFFFFFFFF;  // the graph's own
constexpr std::uint32_t kNoHold = 0;                // all input channels are processed

// The devices are at the same place in both records, whose sizes tell which one it is.
HRESULT ReadDevices(UINT32 size, const BYTE* data, IMMDeviceCollection*& devices) {
    if (data && size == 0) return E_POINTER;
    if (!data) return E_INVALIDARG;
    if (size != sizeof(APOInitSystemEffects) && size != sizeof(APOInitSystemEffects2))
        return E_INVALIDARG;
    APOInitSystemEffects record{};
    std::memcpy(&record, data, sizeof(record));
    devices = record.pDeviceCollection;
    return S_OK;
}

}  // namespace

BaseAPO::BaseAPO(const APO_REG_PROPERTIES& properties) : CBaseAudioProcessingObject(properties) {
    graph.SetActiveChannelsCallback([this](std::uint32_t mask) { FollowActiveChannels(mask); });
}

BaseAPO::~BaseAPO() {
    CloseDriver();
    StopNotifications();
}

void BaseAPO::FinalRelease() {
    CloseDriver();
    StopNotifications();
}

HRESULT BaseAPO::Initialize(UINT32 cbDataSize, BYTE* pbyData) try {
    IMMDeviceCollection* devices = nullptr;
    HRESULT result = ReadDevices(cbDataSize, pbyData, devices);
    if (FAILED(result)) return result;

    StopNotifications();
    if (!surroundLibrary) surroundLibrary.emplace();  // before any lock that blocks are made under
    osVersion = platform::ReadOsVersion();
    result = CoCreateInstance(class_id::kDeviceEnumerator, nullptr, CLSCTX_ALL,
                              interface_id::kDeviceEnumerator, deviceEnumerator.ReceiveAny());
    if (FAILED(result)) return result;

    const auto paths = FindDriverDevicePaths(devices);
    if (paths.empty()) return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    result = OpenDriver(paths.front().c_str());
    if (FAILED(result)) return result;
    if (!isDriverEnabled) return HRESULT_FROM_WIN32(ERROR_INVALID_STATE);

    result = deviceEnumerator->RegisterEndpointNotificationCallback(this);
    if (FAILED(result)) return result;
    hearsNotifications = true;
    PrepareGraph();
    isInitialized = true;
    platform::SeedRand(static_cast<std::uint32_t>(platform::SecondsSinceEpoch()));
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void BaseAPO::StopNotifications() {
    if (!std::exchange(hearsNotifications, false)) return;
    deviceEnumerator->UnregisterEndpointNotificationCallback(this);
}

// The events thread reads `device` until it has ended, and closing waits for that.
void BaseAPO::CloseDriver() {
    if (device) device->Close();
    device.reset();
}

// The device is in place before it is open: its events may ask it at once.
HRESULT BaseAPO::OpenDriver(const WCHAR* path) {
    CloseDriver();
    device = std::make_unique<QuorvelAudioDevice>();
    if (const DWORD error = device->Open(path, this)) {
        device.reset();
        return HRESULT_FROM_WIN32(error);
    }
    DWORD enabled = 0;
    if (device->GetSetData(control::kGetDriverEnabled, nullptr, 0, &enabled, sizeof(enabled),
                           nullptr) == ERROR_SUCCESS)
        isDriverEnabled = enabled != 0;
    return S_OK;
}

void BaseAPO::PrepareGraph() {
    const std::lock_guard lock(processLock);
    graph.SetUpmixMode(IsOutput() ? kUpmixForOutput : kUpmixForInput);
    graph.SetChannelDetectionHold(UsesChannelHoldTime() ? kDefaultHold : kNoHold);
}

bool BaseAPO::UsesChannelHoldTime() {
    return false;
}

HRESULT BaseAPO::GetEffectsList(LPGUID* ppEffectsIds, UINT* pcEffects, HANDLE) {
    if (!ppEffectsIds || !pcEffects) return E_POINTER;
    *ppEffectsIds = nullptr;
    *pcEffects = 0;
    if (!isDriverEnabled) return S_OK;

    const std::span<const GUID> ids = GetEffectIds();
    void* const list = CoTaskMemAlloc(ids.size_bytes());
    if (!list) return E_OUTOFMEMORY;
    std::memcpy(list, ids.data(), ids.size_bytes());
    *ppEffectsIds = static_cast<LPGUID>(list);
    *pcEffects = static_cast<UINT>(ids.size());
    return S_OK;
}

HRESULT BaseAPO::OnDeviceStateChanged(LPCWSTR, DWORD) {
    return S_OK;
}

HRESULT BaseAPO::OnDeviceAdded(LPCWSTR) {
    return S_OK;
}

HRESULT BaseAPO::OnDeviceRemoved(LPCWSTR) {
    return S_OK;
}

HRESULT BaseAPO::OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) {
    return S_OK;
}

HRESULT BaseAPO::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) {
    return S_OK;
}

}  // namespace quorvel
