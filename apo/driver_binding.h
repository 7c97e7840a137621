// From the audio engine's devices to the headset's driver.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace quorvel {

// {2F7C2172-852F-4ABF-B25C-F0F35093A086}: the device interface class of the driver.
extern const GUID kDriverInterfaceClass;

// The paths of the driver's interfaces that are present and belong to one of `devices`, the
// endpoint and what lies beneath it, in the system's order. A device that does not tell which
// device node it is, or whose node is not there, counts for nothing. None when `devices` is null or
// cannot be counted.
//
// Control threads. Throws std::bad_alloc, and then holds on to nothing.
std::vector<std::basic_string<WCHAR>> FindDriverDevicePaths(IMMDeviceCollection* devices);

}  // namespace quorvel
