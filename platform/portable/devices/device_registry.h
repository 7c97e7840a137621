// The registered devices, as CreateFileW sees them.
#pragma once

#include "platform/portable/files/device.h"

namespace quorvel::platform {

// The device behind `path`, or null. Throws std::bad_alloc. Any thread.
std::shared_ptr<Device> FindDevice(std::u16string path);

}  // namespace quorvel::platform
