// Win32 error codes with which the simulated driver answers. Written out here because the
// simulation stands on its own.
#pragma once

#include <cstdint>

namespace quorvel::simulation::status {

inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kInvalidFunction = 1;       // no such control code
inline constexpr std::uint32_t kAccessDenied = 5;          // the handle lacks the code's right
inline constexpr std::uint32_t kInvalidHandle = 6;         // no such client
inline constexpr std::uint32_t kInvalidData = 13;          // a record contradicts itself inside
inline constexpr std::uint32_t kInvalidParameter = 87;     // a request of the wrong length or value
inline constexpr std::uint32_t kInsufficientBuffer = 122;  // does not fit, nothing was answered
inline constexpr std::uint32_t kMoreData = 234;            // does not fit, the answer is its front
inline constexpr std::uint32_t kNotFound = 1168;       // unknown profile, chain, block, link, ...
inline constexpr std::uint32_t kDeviceRemoved = 1617;  // the device has gone away

}  // namespace quorvel::simulation::status
