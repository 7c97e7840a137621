#include "platform/random.h"

namespace quorvel::platform {

thread_local constinit std::uint32_t randState = 1;

}  // namespace quorvel::platform
