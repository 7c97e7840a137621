#include "platform/portable/devices/device_setup.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/portable/devices/machine.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/handle_table.h"

namespace {

using namespace quorvel::platform;

// An interface is told by its place in the list, which the reserved field of its record keeps.
struct DeviceList : KernelObject {
    GUID interfaceClass{};
    std::vector<DeviceInterface> interfaces;
};

std::shared_ptr<DeviceList> FindList(HDEVINFO list) {
    KernelLock lock;
    return HandleTable::Get(lock).Find<DeviceList>(lock, list, 0);
}

std::vector<DeviceInterface> PresentInterfaces(const Machine& machine, const GUID& interfaceClass) {
    std::vector<DeviceInterface> present;
    std::ranges::copy_if(
        machine->interfaces, std::back_inserter(present), [&](const DeviceInterface& candidate) {
            return candidate.isPresent && candidate.interfaceClass == interfaceClass;
        });
    return present;
}

DWORD SizeWithPath(const DeviceInterface& shown) {
    return static_cast<DWORD>(offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath) +
                              (shown.path.size() + 1) * sizeof(WCHAR));
}

// Whether a record that may be left out has the right size field.
template <typename Record>
bool IsSound(const Record* record) {
    return !record || record->cbSize == sizeof(Record);
}

}  // namespace

CONFIGRET CM_Locate_DevNodeW(DEVINST* node, DEVINSTID_W instanceId, ULONG flags) {
    constexpr ULONG kKnownFlags = 7;
    if (!node || !instanceId) return CR_INVALID_POINTER;
    if (flags > kKnownFlags) return CR_INVALID_FLAG;

    const Machine machine;
    if (const DWORD error = machine->faults.Take(MachineStep::kLocateNode)) return error;
    for (const DeviceNode& candidate : machine->nodes) {
        if (!IsSameName(candidate.instanceId, instanceId)) continue;
        *node = candidate.node;
        return CR_SUCCESS;
    }
    return CR_NO_SUCH_DEVNODE;
}

HDEVINFO SetupDiGetClassDevsW(const GUID* interfaceClass, LPCWSTR enumerator, HANDLE, DWORD flags) {
    if (!interfaceClass || enumerator || flags != (DIGCF_PRESENT | DIGCF_DEVICEINTERFACE))
        return FailWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);

    return OrNotEnoughMemory(INVALID_HANDLE_VALUE, [&]() -> HDEVINFO {
        auto list = std::make_shared<DeviceList>();
        list->interfaceClass = *interfaceClass;
        {
            const Machine machine;
            if (machine.Fails(MachineStep::kListInterfaces)) return INVALID_HANDLE_VALUE;
            list->interfaces = PresentInterfaces(machine, *interfaceClass);
        }
        KernelLock lock;
        return HandleTable::Get(lock).Insert(lock, std::move(list), 0);
    });
}

BOOL SetupDiEnumDeviceInterfaces(HDEVINFO list, SP_DEVINFO_DATA* device, const GUID* interfaceClass,
                                 DWORD index, SP_DEVICE_INTERFACE_DATA* deviceInterface) {
    if (!interfaceClass || device || !deviceInterface)
        return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    if (!IsSound(deviceInterface)) return FailWith(ERROR_INVALID_USER_BUFFER, FALSE);
    const auto found = FindList(list);
    if (!found || Machine().Fails(MachineStep::kEnumerateInterface)) return FALSE;
    if (index >= found->interfaces.size() || *interfaceClass != found->interfaceClass)
        return FailWith(ERROR_NO_MORE_ITEMS, FALSE);

    constexpr DWORD kActive = 1;
    *deviceInterface = {sizeof(*deviceInterface), found->interfaceClass, kActive, index};
    return TRUE;
}

BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO list, SP_DEVICE_INTERFACE_DATA* deviceInterface,
                                      SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail, DWORD size,
                                      DWORD* requiredSize, SP_DEVINFO_DATA* device) {
    if (!deviceInterface || !detail != (size == 0)) return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    if (!IsSound(deviceInterface) || !IsSound(device) || (detail && size < sizeof(*detail)) ||
        !IsSound(detail))
        return FailWith(ERROR_INVALID_USER_BUFFER, FALSE);
    const auto found = FindList(list);
    if (!found) return FALSE;
    if (deviceInterface->Reserved >= found->interfaces.size())
        return FailWith(ERROR_INVALID_PARAMETER, FALSE);

    if (requiredSize) *requiredSize = 0;
    const auto step = detail ? MachineStep::kReadDetail : MachineStep::kMeasureDetail;
    if (Machine().Fails(step)) return FALSE;

    const DeviceInterface& shown = found->interfaces[deviceInterface->Reserved];
    if (requiredSize) *requiredSize = SizeWithPath(shown);
    if (size < SizeWithPath(shown)) return FailWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
    // Behind the record the path goes on, which the compiler need not know.
    auto* const path = reinterpret_cast<std::byte*>(detail) +
                       offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    std::memcpy(path, shown.path.c_str(), (shown.path.size() + 1) * sizeof(WCHAR));
    if (device) *device = {sizeof(*device), GUID_NULL, shown.node, 0};
    return TRUE;
}

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO list) {
    if (!FindList(list)) return FALSE;
    return CloseHandle(list);
}
