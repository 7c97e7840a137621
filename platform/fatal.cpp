#include "platform/fatal.h"

#include <exception>

namespace quorvel::platform {

void Fatal(const char* reason) noexcept {
    // Keeps the reason in the stack frame that a crash dump shows.
    const char* volatile lastWords = reason;
    static_cast<void>(lastWords);
    std::terminate();
}

}  // namespace quorvel::platform
