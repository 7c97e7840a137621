// A handle with one owner.
#pragma once

#include <utility>

#include "platform/windows_api.h"

namespace quorvel::platform {

// Owns a handle and closes it. Null and INVALID_HANDLE_VALUE both mean that it owns nothing, so the
// answer of any creating call can be put into it. Moving from one leaves it empty; moving one to
// itself changes nothing. Closing does not touch the thread's last error. One thread at a time.
class UniqueHandle {
  public:
    UniqueHandle() = default;
    explicit UniqueHandle(HANDLE taken) : handle(IsHandle(taken) ? taken : nullptr) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~UniqueHandle() { Reset(); }

    // Null when it owns nothing.
    HANDLE Get() const { return handle; }
    explicit operator bool() const { return handle != nullptr; }

    // Gives the handle up without closing it.
    [[nodiscard]] HANDLE Release() { return std::exchange(handle, nullptr); }

    // Closes what it owns and takes `next`.
    void Reset(HANDLE next = nullptr) {
        const HANDLE old = std::exchange(handle, IsHandle(next) ? next : nullptr);
        if (old) CloseHandle(old);
    }

  private:
    static bool IsHandle(HANDLE value) { return value && value != INVALID_HANDLE_VALUE; }

    HANDLE handle = nullptr;
};

}  // namespace quorvel::platform
