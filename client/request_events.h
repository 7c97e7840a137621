// The events of the requests that are under way.
#pragma once

#include <array>
#include <atomic>

#include "platform/windows_api.h"

namespace quorvel {

// Keeps a few events from one request to the next, so that a request seldom makes one. Take and
// Give may run on any thread at the same time; neither waits. A copy begins without events.
class RequestEvents {
  public:
    RequestEvents() = default;
    RequestEvents(const RequestEvents&) {}
    RequestEvents& operator=(const RequestEvents&) { return *this; }
    ~RequestEvents() { Close(); }

    // A manual-reset event of the caller's own; null with the last error when none can be made.
    HANDLE Take() {
        for (std::atomic<HANDLE>& place : kept)
            if (const HANDLE event = place.exchange(nullptr)) return event;
        return CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }

    // Takes an event back.
    void Give(HANDLE event) {
        for (std::atomic<HANDLE>& place : kept)
            if (HANDLE none = nullptr; place.compare_exchange_strong(none, event)) return;
        CloseHandle(event);
    }

    // Closes what is kept.
    void Close() {
        for (std::atomic<HANDLE>& place : kept)
            if (const HANDLE event = place.exchange(nullptr)) CloseHandle(event);
    }

  private:
    // As many requests at a time cost no event: the real-time thread's, the events thread's, and
    // two of the program's.
    std::array<std::atomic<HANDLE>, 4> kept{};
};

}  // namespace quorvel
