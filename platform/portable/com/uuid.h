// UuidCreate of the Windows RPC runtime.
#pragma once

#include "platform/portable/kernel/types.h"

using UUID = GUID;
using RPC_STATUS = long;

inline constexpr RPC_STATUS RPC_S_OK = 0;
// The UUID is unique on this machine only; callers here accept it.
inline constexpr RPC_STATUS RPC_S_UUID_LOCAL_ONLY = 1824;
inline constexpr RPC_STATUS RPC_S_UUID_NO_ADDRESS = 1739;

// Writes a fresh random UUID (RFC 9562 version 4) to `uuid` and returns RPC_S_OK, or returns
// RPC_S_UUID_NO_ADDRESS and leaves `uuid` alone when the system gives no random numbers. Any
// thread may call it.
RPC_STATUS UuidCreate(UUID* uuid);
