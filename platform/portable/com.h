// The little of COM that threads of this system need: joining and leaving it.
#pragma once

#include <cstdint>

#include "platform/portable/types.h"

using HRESULT = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);

inline constexpr DWORD COINIT_MULTITHREADED = 0;

// Joins the calling thread to the process's multithreaded apartment, the only one there is here.
// S_OK the first time, S_FALSE when the thread was in it already; each of both asks for one
// CoUninitialize. E_INVALIDARG, and nothing changes, for another `model` or a `reserved` that is
// not null. Any thread; nothing is allocated.
HRESULT CoInitializeEx(LPVOID reserved, DWORD model);

// Takes one CoInitializeEx of the calling thread back; nothing without one.
void CoUninitialize();
