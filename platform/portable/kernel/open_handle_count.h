// A look at the handle table for tests and tools.
#pragma once

#include <cstddef>

namespace quorvel::platform {

// How many handles of any kind are open in this process. Any thread.
std::size_t OpenHandleCount();

}  // namespace quorvel::platform
