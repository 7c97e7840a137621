// A reference to a COM object with one owner.
#pragma once

#include <utility>

#include "platform/windows_api.h"

namespace quorvel {

// Releases what it holds; null holds nothing. One thread at a time.
template <typename Interface>
class ComReference {
  public:
    ComReference() = default;
    ComReference(ComReference&& other) noexcept : held(std::exchange(other.held, nullptr)) {}
    ComReference& operator=(ComReference&& other) noexcept {
        if (this != &other) *Receive() = std::exchange(other.held, nullptr);
        return *this;
    }
    ~ComReference() { Reset(); }

    void Reset() {
        if (Interface* const old = std::exchange(held, nullptr)) old->Release();
    }

    // Where a call puts the reference that it hands out; what was held is released first.
    Interface** Receive() {
        Reset();
        return &held;
    }
    void** ReceiveAny() { return reinterpret_cast<void**>(Receive()); }

    Interface* Get() const { return held; }
    Interface* operator->() const { return held; }
    explicit operator bool() const { return held != nullptr; }

  private:
    Interface* held = nullptr;
};

}  // namespace quorvel
