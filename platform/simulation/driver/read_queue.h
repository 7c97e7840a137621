// The reads of one open file, answered from its client's event stream.
//
// Any thread may call; the thread that finds work does it, the others leave it to that one, so
// answers go to the reads in the order in which both came. The mutex is held while nothing is
// called but the reads themselves: never while the driver core is, whose callbacks lead back here.
// What a read can no longer take, because it was cancelled meanwhile, goes to the next one.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/portable/files/device.h"
#include "platform/simulation/driver/driver_core.h"

namespace quorvel::simulation {

class ReadQueue {
  public:
    // `driverCore` outlives every call of Add and Serve.
    ReadQueue(DriverCore& driverCore, ClientId eventClient)
        : core(driverCore), client(eventClient) {}

    // Queues a read and answers what can be answered. Throws std::bad_alloc and has then not taken
    // the read.
    void Add(std::shared_ptr<platform::DeviceRequest> read);

    // Answers what can be answered: to be called when events have come or a silence has ended, and
    // harmless otherwise. Does not throw; a read that memory is lacking for fails.
    void Serve() noexcept;

    // Whether everything delivered has been dealt with: a read is waiting for more, or there never
    // was one.
    bool IsIdle();

  private:
    using Read = std::shared_ptr<platform::DeviceRequest>;

    // The oldest read that was not cancelled; null when there is none. Expects the mutex.
    Read Front();

    // Answers `read`, with the mutex free. False when there is nothing to answer it with.
    bool Answered(platform::DeviceRequest& read);
    void Fetch(std::size_t capacity);
    void Deliver(platform::DeviceRequest& read);

    DriverCore& core;
    const ClientId client;
    std::optional<Answer> held;  // taken off the stream, not delivered yet; the serving thread's

    std::mutex mutex;  // guards all below
    std::deque<Read> reads;
    bool wasRead = false;
    bool isServing = false;
    bool hasNews = false;  // something came since the serving thread last looked
};

}  // namespace quorvel::simulation
