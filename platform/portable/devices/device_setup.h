// Device nodes and device interfaces, as the configuration manager and the set-up library of
// Windows tell them. They are those of the present machine (machine.h).
#pragma once

#include "platform/portable/kernel/handles.h"
#include "platform/portable/kernel/types.h"

// --- Device nodes ---
using DEVINST = DWORD;  // a node of the device tree; 0 is none
using CONFIGRET = DWORD;
using DEVINSTID_W = WCHAR*;

inline constexpr CONFIGRET CR_SUCCESS = 0;
inline constexpr CONFIGRET CR_INVALID_POINTER = 3;
inline constexpr CONFIGRET CR_INVALID_FLAG = 4;
inline constexpr CONFIGRET CR_NO_SUCH_DEVNODE = 13;

// Finds the node, and cancels a pending removal of it.
inline constexpr ULONG CM_LOCATE_DEVNODE_CANCELREMOVE = 2;

// Finds the node of a device instance id, compared without regard to the case of ASCII letters.
// CR_INVALID_POINTER for null pointers, CR_INVALID_FLAG for flags above 7, CR_NO_SUCH_DEVNODE.
CONFIGRET CM_Locate_DevNodeW(DEVINST* node, DEVINSTID_W instanceId, ULONG flags);

// --- Device interfaces ---
using HDEVINFO = PVOID;

inline constexpr DWORD DIGCF_PRESENT = 0x2;
inline constexpr DWORD DIGCF_DEVICEINTERFACE = 0x10;

struct SP_DEVINFO_DATA {
    DWORD cbSize;  // of this record, set by the caller: 28 in a 32-bit process
    GUID ClassGuid;
    DEVINST DevInst;
    ULONG_PTR Reserved;
};

struct SP_DEVICE_INTERFACE_DATA {
    DWORD cbSize;  // of this record, set by the caller: 28 in a 32-bit process
    GUID InterfaceClassGuid;
    DWORD Flags;
    ULONG_PTR Reserved;
};

static_assert(sizeof(void*) != 4 || sizeof(SP_DEVINFO_DATA) == 28);
static_assert(sizeof(void*) != 4 || sizeof(SP_DEVICE_INTERFACE_DATA) == 28);

// Packed as it is for 32-bit processes, which this layer takes after here.
#pragma pack(push, 1)
struct SP_DEVICE_INTERFACE_DETAIL_DATA_W {
    DWORD cbSize;         // of this record alone, not of the path behind it
    WCHAR DevicePath[1];  // goes on beyond the record, to its zero
};
#pragma pack(pop)
static_assert(sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

// All below: any thread, each list one thread at a time. A handle that is not a list's fails with
// ERROR_INVALID_HANDLE, a record whose size field is wrong with ERROR_INVALID_USER_BUFFER.

// Lists the interfaces of a class that are there at this moment. INVALID_HANDLE_VALUE when it
// fails: ERROR_INVALID_PARAMETER for other `flags` than the two above, for an enumerator or without
// a class, ERROR_NOT_ENOUGH_MEMORY.
HDEVINFO SetupDiGetClassDevsW(const GUID* interfaceClass, LPCWSTR enumerator, HANDLE window,
                              DWORD flags);

// The interface at `index`, in the machine's order; FALSE with ERROR_NO_MORE_ITEMS behind the last.
// `device` must be null; the class must be the list's, else there are no items.
BOOL SetupDiEnumDeviceInterfaces(HDEVINFO list, SP_DEVINFO_DATA* device, const GUID* interfaceClass,
                                 DWORD index, SP_DEVICE_INTERFACE_DATA* deviceInterface);

// The path of an interface and its device. `*requiredSize`, unless null, becomes the bytes of
// detail record and path. FALSE with ERROR_INSUFFICIENT_BUFFER when `size` is less; a null `detail`
// goes with a `size` of 0.
BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO list, SP_DEVICE_INTERFACE_DATA* deviceInterface,
                                      SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail, DWORD size,
                                      DWORD* requiredSize, SP_DEVINFO_DATA* device);

BOOL SetupDiDestroyDeviceInfoList(HDEVINFO list);
