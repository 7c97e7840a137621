// Work that may outlast the call that asks for it.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

// Runs `work(argument)` on a thread of its own, a member of COM's multithreaded apartment, and
// waits for it for at most `milliseconds`; after that the work goes on alone. The module stays
// loaded until the thread has left its code. False when no thread can be had: the work has not run.
// Control threads.
bool RunOnModuleThread(void (*work)(void* argument), void* argument, DWORD milliseconds);

}  // namespace quorvel::platform
