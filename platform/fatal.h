// The end of the process for misuse and failures that nobody could handle.
#pragma once

namespace quorvel::platform {

// Ends the process through std::terminate; never returns. `reason` is for the debugger only: the
// calling threads may be real-time ones, so nothing is written.
[[noreturn]] void Fatal(const char* reason) noexcept;

}  // namespace quorvel::platform
