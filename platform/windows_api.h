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
#include "platform/portable/apo_buffers.h"
#include "platform/portable/com.h"
#include "platform/portable/control_codes.h"
#include "platform/portable/critical_section.h"
#include "platform/portable/debug_help.h"
#include "platform/portable/debug_output.h"
#include "platform/portable/device_files.h"
#include "platform/portable/device_setup.h"
#include "platform/portable/events.h"
#include "platform/portable/file_times.h"
#include "platform/portable/files.h"
#include "platform/portable/handles.h"
#include "platform/portable/heap.h"
#include "platform/portable/libraries.h"
#include "platform/portable/modules.h"
#include "platform/portable/multimedia_devices.h"
#include "platform/portable/processes.h"
#include "platform/portable/registry.h"
#include "platform/portable/threads.h"
#include "platform/portable/types.h"
#include "platform/portable/uuid.h"
#include "platform/portable/waits.h"
#include "platform/portable/wave_format.h"
#endif
