// Who uses the device's handle, so that whoever is last closes it.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/windows_api.h"

namespace quorvel {

// The opening is one use and every request another. Requests of any thread may begin and end at any
// time; none waits for another. Begin, End and copying are for the thread that opens and closes, or
// for the events thread while that one waits. A copy has the use of the opening that it copies.
class HandleUses {
  public:
    HandleUses() = default;
    HandleUses(const HandleUses& other) : count(other.count.load()) {}
    HandleUses& operator=(const HandleUses& other) {
        count = other.count.load();
        return *this;
    }

    // The device is open. Not to be called while there are uses.
    void Begin() { count = 1; }

    // The device is closed: no request begins any more, and the last use closes `handle`, unless
    // that is INVALID_HANDLE_VALUE. Only after Begin.
    void End(HANDLE handle) {
        toClose = handle;
        Leave();
    }

    // A request's use for its lifetime.
    class Request {
      public:
        explicit Request(HandleUses& handleUses) : uses(handleUses), isIn(uses.Enter()) {}
        ~Request() {
            if (isIn) uses.Leave();
        }
        Request(const Request&) = delete;
        Request& operator=(const Request&) = delete;

        // False when the device is closed.
        explicit operator bool() const { return isIn; }

      private:
        HandleUses& uses;
        const bool isIn;
    };

  private:
    bool Enter() {
        std::uint32_t seen = count;
        while (seen != 0)
            if (count.compare_exchange_weak(seen, seen + 1)) return true;
        return false;
    }

    void Leave() {
        if (--count == 0 && toClose != INVALID_HANDLE_VALUE) CloseHandle(toClose);
    }

    std::atomic<std::uint32_t> count = 0;
    HANDLE toClose = INVALID_HANDLE_VALUE;  // read by the last use only
};

}  // namespace quorvel
