// How the portable calls report failure: an error code in the thread, a value for the caller.
#pragma once

#include <new>

#include "platform/portable/kernel/handles.h"

namespace quorvel::platform {

// Makes `error` the thread's last error and returns `result`.
template <typename Result>
Result FailWith(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

// The result of `body()`; when it runs out of memory, `failure` with ERROR_NOT_ENOUGH_MEMORY.
template <typename Result, typename Body>
Result OrNotEnoughMemory(Result failure, Body body) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return FailWith(ERROR_NOT_ENOUGH_MEMORY, failure);
    }
}

}  // namespace quorvel::platform
