// Which Windows this is.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

// What the kernel says of itself, whatever the process's manifest claims; zeros where it says
// nothing.
RTL_OSVERSIONINFOEXW ReadOsVersion();

}  // namespace quorvel::platform
