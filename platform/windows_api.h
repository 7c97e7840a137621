// The one include for Windows types and calls.
//
// On Windows this is the system's own headers. Elsewhere platform/portable/ declares the same
// names with the same meaning, and only those that this system uses.
#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
// Before all others, which build on it.
#include <windows.h>

#include <audioapotypes.h>
#include <cfgmgr32.h>
#include <dbghelp.h>
#include <mmdeviceapi.h>
#include <mmreg.h>
#include <objbase.h>
#include <propsys.h>
#include <propvarutil.h>
#include <rpc.h>
#include <setupapi.h>
#include <tlhelp32.h>
#include <winioctl.h>
#else
#include "platform/portable/com/apo_buffers.h"
#include "platform/portable/com/com.h"
#include "platform/portable/com/uuid.h"
#include "platform/portable/com/wave_format.h"
#include "platform/portable/debug_help/debug_help.h"
#include "platform/portable/debug_help/debug_output.h"
#include "platform/portable/debug_help/modules.h"
#include "platform/portable/devices/device_setup.h"
#include "platform/portable/devices/multimedia_devices.h"
#include "platform/portable/files/control_codes.h"
#include "platform/portable/files/device_files.h"
#include "platform/portable/files/file_times.h"
#include "platform/portable/files/files.h"
#include "platform/portable/kernel/critical_section.h"
#include "platform/portable/kernel/events.h"
#include "platform/portable/kernel/handles.h"
#include "platform/portable/kernel/heap.h"
#include "platform/portable/kernel/libraries.h"
#include "platform/portable/kernel/processes.h"
#include "platform/portable/kernel/threads.h"
#include "platform/portable/kernel/types.h"
#include "platform/portable/kernel/waits.h"
#include "platform/portable/registry/registry.h"
#endif
