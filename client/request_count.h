// How many requests are on their way, so that what they use is not closed beneath them.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace quorvel {

// Requests of any thread; none waits. A copy begins at none: requests belong to one object.
class RequestCount {
  public:
    RequestCount() = default;
    RequestCount(const RequestCount&) {}
    RequestCount& operator=(const RequestCount&) { return *this; }

    // Counts a request for its lifetime. It looks for what it uses after it is counted.
    class Request {
      public:
        explicit Request(RequestCount& requests) : owner(requests) { ++owner.count; }
        ~Request() { --owner.count; }
        Request(const Request&) = delete;
        Request& operator=(const Request&) = delete;

      private:
        RequestCount& owner;
    };

    // Waits until none is on its way that was counted before what it uses was taken away. Not to be
    // called in a request.
    void WaitForNone() const {
        while (count.load() != 0)
            std::this_thread::yield();
    }

  private:
    std::atomic<std::uint32_t> count = 0;
};

}  // namespace quorvel
