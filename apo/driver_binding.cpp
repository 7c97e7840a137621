#include "apo/driver_binding.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "apo/com_reference.h"

namespace quorvel {

const GUID kDriverInterfaceClass = {
    0x2F7C2172, 0x852F, 0x4ABF, {0xB2, 0x5C, 0xF0, 0xF3, 0x50, 0x93, 0xA0, 0x86}};

namespace {

constexpr PROPERTYKEY kInstanceIdKey = {  // PKEY_Device_InstanceId
    {0x78C34FC8, 0x104A, 0x4ACA, {0x9E, 0xA4, 0x52, 0x4D, 0x52, 0x99, 0x6E, 0x57}},
    256};

constexpr UINT kInstanceIdUnits = 4096;

// What drivers of a 32-bit system are asked with.
static_assert(sizeof(void*) != 4 || sizeof(SP_DEVINFO_DATA) == 28);
static_assert(sizeof(void*) != 4 || sizeof(SP_DEVICE_INTERFACE_DATA) == 28);
static_assert(sizeof(void*) != 4 || sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

using Text = std::basic_string<WCHAR>;

class PropertyValue {
  public:
    PropertyValue() { PropVariantInit(&value); }
    ~PropertyValue() { PropVariantClear(&value); }
    PropertyValue(const PropertyValue&) = delete;
    PropertyValue& operator=(const PropertyValue&) = delete;

    PROPVARIANT* Get() { return &value; }

  private:
    PROPVARIANT value;
};

// The driver's interfaces that are present; empty when they cannot be listed.
class DriverInterfaces {
  public:
    DriverInterfaces()
        : list(SetupDiGetClassDevsW(&kDriverInterfaceClass, nullptr, nullptr,
                                    DIGCF_PRESENT | DIGCF_DEVICEINTERFACE)) {}
    ~DriverInterfaces() {
        if (list != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(list);
    }
    DriverInterfaces(const DriverInterfaces&) = delete;
    DriverInterfaces& operator=(const DriverInterfaces&) = delete;

    // False behind the last.
    bool Find(DWORD index, SP_DEVICE_INTERFACE_DATA& found) const {
        found = {};
        found.cbSize = sizeof(found);
        return list != INVALID_HANDLE_VALUE &&
               SetupDiEnumDeviceInterfaces(list, nullptr, &kDriverInterfaceClass, index, &found);
    }

    // The path of an interface, empty when it cannot be read, and the node of its device.
    Text ReadPath(SP_DEVICE_INTERFACE_DATA& shown, DEVINST& node) const;

  private:
    const HDEVINFO list;
};

Text DriverInterfaces::ReadPath(SP_DEVICE_INTERFACE_DATA& shown, DEVINST& node) const {
    using Detail = SP_DEVICE_INTERFACE_DETAIL_DATA_W;
    DWORD size = 0;
    SetupDiGetDeviceInterfaceDetailW(list, &shown, nullptr, 0, &size, nullptr);
    if (size < sizeof(Detail)) return {};

    std::vector<std::byte> buffer(size);
    constexpr DWORD kDetailSize = sizeof(Detail);  // 6 in a 32-bit process
    std::memcpy(buffer.data(), &kDetailSize, sizeof(kDetailSize));
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    if (!SetupDiGetDeviceInterfaceDetailW(list, &shown, reinterpret_cast<Detail*>(buffer.data()),
                                          size, nullptr, &device))
        return {};
    node = device.DevInst;
    Text path((size - offsetof(Detail, DevicePath)) / sizeof(WCHAR), WCHAR{});
    std::memcpy(path.data(), buffer.data() + offsetof(Detail, DevicePath),
                path.size() * sizeof(WCHAR));
    path.resize(std::min(path.size(), path.find(WCHAR{})));
    return path;
}

// The node of the device at `index`; 0, which is no node, when it cannot be found out.
DEVINST FindNode(IMMDeviceCollection& devices, UINT index) {
    ComReference<IMMDevice> device;
    if (FAILED(devices.Item(index, device.Receive()))) return 0;
    ComReference<IPropertyStore> store;
    if (FAILED(device->OpenPropertyStore(STGM_READ, store.Receive()))) return 0;
    PropertyValue value;
    if (FAILED(store->GetValue(kInstanceIdKey, value.Get()))) return 0;
    std::vector<WCHAR> instanceId(kInstanceIdUnits);
    if (FAILED(PropVariantToString(*value.Get(), instanceId.data(), kInstanceIdUnits))) return 0;
    if (instanceId.front() == 0) return 0;
    DEVINST node = 0;
    const auto result =
        CM_Locate_DevNodeW(&node, instanceId.data(), CM_LOCATE_DEVNODE_CANCELREMOVE);
    return result == CR_SUCCESS ? node : 0;
}

std::vector<DEVINST> FindNodes(IMMDeviceCollection& devices) {
    std::vector<DEVINST> nodes;
    UINT count = 0;
    if (FAILED(devices.GetCount(&count))) return nodes;
    for (UINT i = 0; i < count; ++i)
        if (const DEVINST node = FindNode(devices, i)) nodes.push_back(node);
    return nodes;
}

}  // namespace

std::vector<Text> FindDriverDevicePaths(IMMDeviceCollection* devices) {
    std::vector<Text> paths;
    if (!devices) return paths;
    const std::vector<DEVINST> nodes = FindNodes(*devices);
    if (nodes.empty()) return paths;

    const DriverInterfaces interfaces;
    SP_DEVICE_INTERFACE_DATA shown{};
    for (DWORD index = 0; interfaces.Find(index, shown); ++index) {
        DEVINST node = 0;
        Text path = interfaces.ReadPath(shown, node);
        if (!path.empty() && std::ranges::find(nodes, node) != nodes.end())
            paths.push_back(std::move(path));
    }
    return paths;
}

}  // namespace quorvel
