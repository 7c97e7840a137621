#include "platform/portable/devices/device_registry.h"

#include <map>
#include <utility>

#include "platform/portable/kernel/kernel_lock.h"

namespace quorvel::platform {
namespace {

using Devices = std::map<std::u16string, std::shared_ptr<Device>>;  // by folded path

Devices& Registered(KernelLock&) {
    static Devices& devices = *new Devices;
    return devices;
}

std::u16string Folded(std::u16string path) {
    for (char16_t& unit : path)
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
    return path;
}

}  // namespace

void RegisterDevice(std::u16string path, std::shared_ptr<Device> device) {
    path = Folded(std::move(path));
    KernelLock lock;
    // What was there leaves in `device`, which outlives the lock.
    Registered(lock)[std::move(path)].swap(device);
}

void UnregisterDevice(std::u16string path) {
    path = Folded(std::move(path));
    Devices::node_type taken;  // outlives the lock: the device's end is the device's code
    KernelLock lock;
    taken = Registered(lock).extract(path);
}

std::shared_ptr<Device> FindDevice(std::u16string path) {
    path = Folded(std::move(path));
    KernelLock lock;
    const auto found = Registered(lock).find(path);
    return found == Registered(lock).end() ? nullptr : found->second;
}

}  // namespace quorvel::platform
